#include "template/DLPCacheTpl.h"

#include <memory>
#include <new>
#include <utility>

#include "host/base/NoThrow.h"
#include "host/base/Retained.h"
#include "host/policy/KwDefineMgr.h"
#include "storage/DLPCacheManager.h"
#include "storage/DLPCacheRecord.h"
#include "template/DLPCacheTplLog.h"
#include "template/DLPCacheTplNode.h"

using DLPCache::kTplLog;

namespace {

// Gives the template's items the names that the process-wide definitions have for it now.
void FillTplNames(QVKConfigKeywordTemplateNode const& own, QVKReportKeywordAttachNode& node) {
    HString const& id = own.common->id;
    for (auto& item : node.items)
        item.tpl_id = id;
    KwDefineMgr const* current = KwDefineMgr::pins();
    auto const* tpl = current ? current->get_tpl_by_id(id) : nullptr;
    if (!tpl) return;
    auto const* data_class = current->get_data_class_by_id(tpl->data_class_id);
    auto const* data_level = current->get_data_level_by_id(tpl->data_level_id);
    for (auto& item : node.items) {
        item.tpl_name = tpl->common->name;
        if (data_class) {
            item.data_class_id = data_class->common->id;
            item.data_class_name = data_class->common->name;
        }
        if (data_level) {
            item.data_level_id = data_level->common->id;
            item.data_level_name = data_level->common->name;
        }
    }
}

void FillRules(KwDefineMgr const& snapshot, QVKReportKeywordAttachNode& node) {
    for (auto& item : node.items) {
        auto const* rule = snapshot.get_rule_by_id(item.rule_id);
        if (!rule) continue;
        item.rule_name = rule->common->name;
        item.rule_type = rule->rule_type;
        item.rule_text = rule->rule_text;
    }
}

void SetFileShortName(HString const& name, HString& stored) {
    if (stored == name) return;
    HString fresh = name;
    if (int const separator = stored.find(u'/'); separator >= 0) fresh << stored.cut_first(separator);
    stored = std::move(fresh);
}

}  // namespace

DLPCacheTpl::DLPCacheTpl(QVKConfigKeywordTemplateNode const& tpl, HString const& md5) noexcept
    : define_mgr_(new (std::nothrow) KwDefineMgr) {
    Init(tpl, md5);
}

DLPCacheTpl::~DLPCacheTpl() {
    // Callers may still be inside, or hold pointers into the definitions.
    Varnok::Retain(manager_);
    Varnok::Retain(define_mgr_);
}

void DLPCacheTpl::Retire() noexcept {
    if (DLPCache::Manager* const store = manager_.load(std::memory_order_acquire)) store->Retire();
}

bool DLPCacheTpl::IsDependFileAttr() const noexcept {
    return depends_on_file_attr_.load(std::memory_order_relaxed);
}

int DLPCacheTpl::Add(HString const& key, QVKReportKeywordAttachNode const& node, QVKKeywordText const& text,
                     HString const& stored_name) const noexcept {
    using namespace DLPCache;
    Manager* const store = manager_.load(std::memory_order_acquire);
    if (!store) return kTplLog.Failed("Add", 555, kAssertNull, kTplNoStore);
    if (node.items.empty()) {
        int const stored = store->Add(key, nullptr, 0);
        return stored <= 0 ? stored : kTplStoredEmpty;
    }
    return NoThrow<int>(kTplNotEncoded, [&]() -> int {
        TplNode record;
        // An answer that cannot be taken whole has no text, and so no encoding.
        (void)record.SetKeywordAttach(node, text);
        record.stored_name = stored_name;
        unsigned char* bytes = nullptr;
        int length = 0;
        if (record.Size() <= 0) return kTplLog.Failed("Add", 577, kAssertFalse, kTplNotEncoded);
        if (!record.ToBuffer(bytes, length)) return kTplLog.Failed("Add", 583, kAssertFalse, kTplNotEncoded);
        std::unique_ptr<unsigned char[]> const owner(bytes);
        int const stored = store->Add(key, bytes, length);
        return stored < 0 ? stored : kTplStored;
    });
}

int DLPCacheTpl::Add(Key const& key, QVKReportKeywordAttachNode const& node, QVKKeywordText const& text,
                     HString const& stored_name) const noexcept {
    using namespace DLPCache;
    // Without a store it is not known yet which key counts.
    if (!HasStore()) return kTplLog.Failed("Add", 555, kAssertNull, kTplNoStore);
    if (!IsDependFileAttr()) return Add(key.md5, node, text, stored_name);
    return NoThrow<int>(kTplNotEncoded, [&] { return Add(key.Hash(), node, text, stored_name); });
}

int DLPCacheTpl::Find(HString const& key, QVKReportKeywordAttachNode& node, QVKKeywordText& text,
                      HString& stored_name) const noexcept {
    using namespace DLPCache;
    Manager* const store = manager_.load(std::memory_order_acquire);
    if (!store) return kTplLog.Failed("Find", 489, kAssertNull, kTplNoStore);
    node.reset_to_default();
    TplNode record;
    int const found = FindRecord(*store, key, record, {kTplLog, 520, 521, kTplNotDecoded});
    if (found != kTplMatched) return found;
    return NoThrow<int>(kTplNotDecoded, [&]() -> int {
        stored_name = std::move(record.stored_name);
        if (!record.GiveKeywordAttach(node, text)) return kTplLog.Failed("Find", 526, kAssertFalse, kTplNotDecoded);
        FillInfo(node);
        return kTplMatched;
    });
}

int DLPCacheTpl::Find(Key const& key, QVKReportKeywordAttachNode& node, QVKKeywordText& text,
                      HString& stored_name) const noexcept {
    using namespace DLPCache;
    if (!HasStore()) return kTplLog.Failed("Find", 489, kAssertNull, kTplNoStore);
    return NoThrow<int>(kTplNotDecoded, [&] {
        int const found =
            IsDependFileAttr() ? Find(key.Hash(), node, text, stored_name) : Find(key.md5, node, text, stored_name);
        if (found == kTplMatched) {
            for (auto& item : node.items)
                SetFileShortName(key.short_name, item.file_short_name);
        }
        return found;
    });
}

void DLPCacheTpl::FillAttachTplInfo(QVKReportKeywordAttachNode& node) const noexcept {
    NoThrow(false, [&] { return FillInfo(node), true; });
}

void DLPCacheTpl::FillInfo(QVKReportKeywordAttachNode& node) const {
    if (auto const* tpl = tpl_.load(std::memory_order_acquire)) FillTplNames(*tpl, node);
    if (define_mgr_) FillRules(*define_mgr_, node);
}

void DLPCacheTpl::ResetFileShortName(HString const& name, QVKReportKeywordAttachNode& node) const noexcept {
    NoThrow(false, [&] {
        for (auto& item : node.items)
            SetFileShortName(name, item.file_short_name);
        return true;
    });
}
