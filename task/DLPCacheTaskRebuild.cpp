// From a finding back to what the scan gave: DLPCacheTaskMgr::GetSensMatchNode and its kin.
#include <memory>
#include <set>
#include <utility>

#include "host/base/NoThrow.h"
#include "host/policy/KwDefineMgr.h"
#include "task/DLPCacheTaskLog.h"
#include "task/DLPCacheTaskMgr.h"
#include "task/DLPCacheTaskStore.h"
#include "task/DLPCacheTextMerge.h"
#include "template/DLPCacheTplMgr.h"

using DLPCache::kLogError;
using DLPCache::kTaskLog;

namespace {

KwDefineMgr const* DefinitionsOf(DLPCacheTask const& writer) noexcept {
    return writer.store() ? writer.store()->definitions() : nullptr;
}

// The cache that holds a template's answers under the definitions; null when they do not know the template.
DLPCacheTpl const* FindTplCache(KwDefineMgr const* definitions, HString const& tpl_id) noexcept {
    auto const* const tpl = definitions ? definitions->get_tpl_by_id(tpl_id) : nullptr;
    if (!tpl) return nullptr;
    // Without memory the MD5 is empty: no cache has that.
    HString const md5 = definitions->get_md5_by_tpl(*tpl);
    DLPCacheTplMgr* const caches = DLPCacheTplMgr::pins();
    return caches && md5.not_empty() ? caches->GetCache(*tpl, md5) : nullptr;
}

DLPCacheTpl::Key KeyOf(SensFile const& file) {
    DLPCacheTpl::Key key;
    key.short_name = file.file_path.get_short_name();
    key.md5 = file.file_md5;
    return key;
}

// Takes what the scan found in the file by its template at `index`, or logs why there is nothing.
void TakeAnswer(SensFile const& file, std::size_t index, DLPCacheTpl::Key const& key, KwDefineMgr const* definitions,
                QVKKeywordMatchNode& node) {
    HString const& tpl_id = file.tpl_ids[index];
    HString const tpl_md5 = index < file.tpl_md5s.size() ? file.tpl_md5s[index] : HString();
    DLPCacheTpl const* const cache = FindTplCache(definitions, tpl_id);
    if (!cache) {
        return kTaskLog.Write(kLogError, 752, "template cache information not found. id: ", file.task_id,
                              ", tpl id:", tpl_id, ", tpl md5:", tpl_md5, ", file md5:", file.file_md5);
    }
    QVKReportKeywordAttachNode attach_node;
    QVKKeywordText text;
    HString stored_name;
    int const found = cache->Find(key, attach_node, text, stored_name);
    if (found != DLPCache::kTplMatched) {
        return kTaskLog.Write(kLogError, 761, "sensitive information not found in cache. tpl id:", tpl_id,
                              ", tpl md5:", tpl_md5, ", file md5:", file.file_md5, ", ret:", found);
    }
    node.matched_tpl_ids.push_back(tpl_id);
    node.attach_nodes.push_back(std::move(attach_node));
    node.texts.push_back(std::move(text));
}

// Makes room for an answer of each of so many templates: the lists stay parallel whatever fails.
void ReserveAnswers(std::size_t count, QVKKeywordMatchNode& node) {
    node.matched_tpl_ids.reserve(node.matched_tpl_ids.size() + count);
    node.attach_nodes.reserve(node.attach_nodes.size() + count);
    node.texts.reserve(node.texts.size() + count);
}

// The greatest level of today's definitions counts, whatever the task's say.
void TakeLevel(HString const& level_id, QVKKeywordFileTips& tips) noexcept {
    KwDefineMgr const* const current = KwDefineMgr::pins();
    auto const* const level = current ? current->get_data_level_by_id(level_id) : nullptr;
    if (!level || level->level <= tips.data_level) return;
    tips.data_level = level->level;
    tips.data_level_name = level->common->name;
    tips.data_level_id = level->common->id;
}

void FillTips(SensFile const& file, KwDefineMgr const& definitions, QVKKeywordFileTips& tips) {
    std::set<HString> class_names;
    for (HString const& tpl_id : file.tpl_ids) {
        auto const* const tpl = definitions.get_tpl_by_id(tpl_id);
        if (!tpl) continue;
        tips.tpl_name = tpl->common->name;
        if (auto const* data_class = definitions.get_data_class_by_id(tpl->data_class_id)) {
            class_names.insert(data_class->common->name);
        }
        TakeLevel(tpl->data_level_id, tips);
    }
    tips.data_class_names = HString::make_by_set_s(class_names, "|");
}

void LogNoTask(int line, HString const& task_id) noexcept {
    kTaskLog.Write(kLogError, line, "task information not found in cache. id: ", task_id);
}

}  // namespace

void DLPCacheTaskMgr::GetSensMatchNode(SensFile const& file, QVKKeywordMatchNode& node) const noexcept {
    NoThrow(false, [&] {
        node.sensitive = true;
        if (!node.file_node) node.file_node = std::make_shared<QVKKeywordFileNode>();
        if (!node.tips) node.tips = std::make_shared<QVKKeywordFileTips>();
        node.file_node->file_path = file.file_path;
        node.file_node->file_md5 = file.file_md5;
        DLPCacheTask const* const writer = CacheOf(file.task_id);
        if (!writer) return LogNoTask(815, file.task_id), false;

        DLPCacheTpl::Key const key = KeyOf(file);
        ReserveAnswers(file.tpl_ids.size(), node);
        for (std::size_t i = 0; i < file.tpl_ids.size(); ++i)
            TakeAnswer(file, i, key, DefinitionsOf(*writer), node);
        GetSensMatchTips(file, *node.tips);
        MergeMatchFileText(node.texts, node.tips->text);
        return true;
    });
}

void DLPCacheTaskMgr::GetSensMatchItem(SensFile const& file, QVKKeywordMatchItem& item) const noexcept {
    NoThrow(false, [&] {
        QVKKeywordMatchNode node;
        GetSensMatchNode(file, node);
        item.sensitive = node.sensitive;
        item.match_nodes.push_back(std::move(node));
        return true;
    });
}

void DLPCacheTaskMgr::GetSensFileResult(SensFile const& file, QVKKeywordMatchResult& result) const noexcept {
    NoThrow(false, [&] {
        QVKKeywordMatchItem item;
        GetSensMatchItem(file, item);
        result.sensitive = item.sensitive;
        result.match_items.push_back(std::move(item));
        return true;
    });
}

void DLPCacheTaskMgr::GetSensMatchTips(SensFile const& file, QVKKeywordFileTips& tips) const noexcept {
    NoThrow(false, [&] {
        tips.file_path = file.file_path;
        DLPCacheTask const* const writer = CacheOf(file.task_id);
        if (!writer) return LogNoTask(849, file.task_id), false;
        KwDefineMgr const* const definitions = DefinitionsOf(*writer);
        if (!definitions) {
            kTaskLog.Write(kLogError, 852, "define information not found in cache. id: ", file.task_id);
            return false;
        }
        FillTips(file, *definitions, tips);
        return true;
    });
}

void DLPCacheTaskMgr::MergeMatchFileText(std::vector<QVKKeywordText> const& texts,
                                         QVKKeywordText& merged) const noexcept {
    NoThrow(false, [&] { return DLPCache::MergeTexts(texts, merged), true; });
}
