#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>
#include <utility>

#include "front/DLPCacheMgr.h"
#include "front/DLPCacheMgrLog.h"
#include "front/DLPCacheNodeQuery.h"
#include "front/DLPCacheTplLookup.h"

using namespace DLPCache;

namespace {

// A negative threshold becomes a count that no list reaches.
bool IsReached(int threshold, std::size_t count) {
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(threshold)) <= count;
}

void ApplyThreshold(QVKKeywordFileItem const& file_item, QVKKeywordMatchNode& node) {
    auto const& listed = file_item.count_matched ? node.matched_tpl_ids : node.unmatched_tpl_ids;
    if (IsReached(file_item.threshold, listed.size())) node.sensitive = true;
}

// The first text of each template id. The views live as long as the texts.
using TextsById = std::map<std::u16string_view, QVKKeywordText const*>;

TextsById IndexTexts(std::vector<QVKKeywordText> const& texts) {
    TextsById index;
    for (QVKKeywordText const& text : texts)
        index.try_emplace(text.tpl_id.view(), &text);
    return index;
}

// Stores the answers of one match node; a refused one is logged and left out. Throws std::bad_alloc.
class NodeStore {
  public:
    explicit NodeStore(QVKKeywordMatchNode const& node)
        : node_(node), key_(MakeFileKey(node.file_node ? *node.file_node : QVKKeywordFileNode())) {
        if (node.tips) stored_name_ = node.tips->stored_name;
    }

    void StoreMatched() const {
        TextsById const texts = IndexTexts(node_.texts);
        QVKKeywordText const no_text;
        for (std::size_t i = 0; i < node_.matched_tpl_ids.size(); ++i) {
            HString const& tpl_id = node_.matched_tpl_ids[i];
            DLPCacheTpl* const cache = LookUpTpl(tpl_id).cache;
            if (cache == nullptr) continue;
            auto const text = texts.find(tpl_id.view());
            Store(*cache, tpl_id, node_.attach_nodes[i], text == texts.end() ? no_text : *text->second);
        }
    }

    void StoreUnmatched() const {
        QVKReportKeywordAttachNode nothing;
        nothing.reset_to_default();
        QVKKeywordText text;
        for (HString const& tpl_id : node_.unmatched_tpl_ids) {
            TplLookup const found = LookUpTpl(tpl_id);
            if (found.cache == nullptr) continue;
            text.tpl_id = found.tpl->common->id;
            Store(*found.cache, tpl_id, nothing, text);
        }
    }

  private:
    void Store(DLPCacheTpl const& cache, HString const& tpl_id, QVKReportKeywordAttachNode const& attach_node,
               QVKKeywordText const& text) const {
        int const ret = cache.Add(key_, attach_node, text, stored_name_);
        if (ret >= 0) return;
        kFrontLog.Write(kLogError, kLineAddFailed, "file md5: ", key_.md5, ", tpl id: ", tpl_id,
                        ", add cache failed. ret: ", ret);
    }

    QVKKeywordMatchNode const& node_;
    DLPCacheTpl::Key const key_;
    HString stored_name_;
};

}  // namespace

bool DLPCacheMgr::QueryMatchNode(QVKKeywordFileNode const& file_node, std::vector<HString> const& tpl_ids,
                                 bool lookup_flag, QVKKeywordMatchNode& node) const noexcept {
    return Guarded("QueryMatchNode", kLineQueryNodeFailed, false, [&] {
        NodeQuery(file_node, lookup_flag, node).Run(tpl_ids);
        return true;
    });
}

bool DLPCacheMgr::QueryMatchItem(QVKKeywordFileItem const& file_item, QVKKeywordMatchItem& item) const noexcept {
    return Guarded("QueryMatchItem", kLineQueryItemFailed, false, [&] {
        for (QVKKeywordFileNode const& file_node : file_item.file_nodes) {
            QVKKeywordMatchNode node;
            if (!QueryMatchNode(file_node, file_item.tpl_ids, file_item.lookup_flag, node)) return false;
            ApplyThreshold(file_item, node);
            item.match_nodes.push_back(std::move(node));
            if (!file_item.check_every_node && item.match_nodes.back().sensitive) break;
        }
        item.sensitive = std::ranges::any_of(item.match_nodes, &QVKKeywordMatchNode::sensitive);
        return true;
    });
}

int DLPCacheMgr::AddMatchNode(QVKKeywordMatchNode const& node) const noexcept {
    if (node.attach_nodes.size() != node.matched_tpl_ids.size()) {
        kFrontLog.Write(kLogError, kLineAddShape, "Tpl size:", static_cast<long long>(node.matched_tpl_ids.size()),
                        ",Attach size:", static_cast<long long>(node.attach_nodes.size()));
        return kShapeRefused;
    }
    return Guarded("AddMatchNode", kLineAddNoMemory, int{kShapeRefused}, [&] {
        NodeStore const store(node);
        store.StoreMatched();
        store.StoreUnmatched();
        return int{kStored};
    });
}

int DLPCacheMgr::AddMatchItem(QVKKeywordMatchItem const& item) const noexcept {
    for (QVKKeywordMatchNode const& node : item.match_nodes) {
        if (int const ret = AddMatchNode(node)) return ret;
    }
    return kStored;
}
