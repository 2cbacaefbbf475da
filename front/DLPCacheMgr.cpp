#include "front/DLPCacheMgr.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "front/DLPCacheMgrCodes.h"
#include "front/DLPCacheMgrLog.h"
#include "front/DLPCacheVersion.h"

using namespace DLPCache;

namespace {

enum class ItemAnswer { kFull, kEmpty, kPartial };

// An item without files is fully answered. A file without templates has no answers: it counts as one without an answer.
ItemAnswer JudgeItem(QVKKeywordFileItem const& asked, QVKKeywordMatchItem const& item) {
    if (asked.file_nodes.size() != item.match_nodes.size()) return ItemAnswer::kPartial;
    std::size_t empty_nodes = 0;
    for (QVKKeywordMatchNode const& node : item.match_nodes) {
        std::size_t const answers = node.matched_tpl_ids.size() + node.unmatched_tpl_ids.size();
        if (answers == 0) {
            ++empty_nodes;
        } else if (answers != asked.tpl_ids.size()) {
            return ItemAnswer::kPartial;
        }
    }
    if (empty_nodes == 0) return ItemAnswer::kFull;
    return empty_nodes == item.match_nodes.size() ? ItemAnswer::kEmpty : ItemAnswer::kPartial;
}

FrontCode Judge(QVKKeywordCheckParam const& asked, std::vector<QVKKeywordMatchItem> const& items) {
    if (items.empty()) return kMiss;
    if (asked.file_items.size() != items.size()) return kPartialHit;
    std::size_t empty_items = 0;
    for (std::size_t i = 0; i < items.size(); ++i) {
        ItemAnswer const answer = JudgeItem(asked.file_items[i], items[i]);
        if (answer == ItemAnswer::kPartial) return kPartialHit;
        if (answer == ItemAnswer::kEmpty) ++empty_items;
    }
    if (empty_items == 0) return kFullHit;
    return empty_items == items.size() ? kMiss : kPartialHit;
}

void ApplyItemRule(unsigned item_rule, QVKKeywordMatchResult& result) {
    auto const& items = result.match_items;
    if (item_rule == 0) {
        if (std::ranges::any_of(items, &QVKKeywordMatchItem::sensitive)) result.sensitive = true;
    } else if (item_rule == 1) {
        result.sensitive = !items.empty() && std::ranges::all_of(items, &QVKKeywordMatchItem::sensitive);
    }
}

}  // namespace

DLPCacheMgr::DLPCacheMgr() noexcept {
    CheckModuleVersion();
}

DLPCacheMgr* DLPCacheMgr::pins() noexcept {
    // Without state, so never in need of memory, and without a destructor to run.
    static_assert(std::is_empty_v<DLPCacheMgr> && std::is_trivially_destructible_v<DLPCacheMgr>);
    static DLPCacheMgr instance;
    return &instance;
}

int DLPCacheMgr::QueryCache(QVKKeywordCheckParam const& param, QVKKeywordMatchResult& result) const noexcept {
    if (!result.check_param) return kFrontLog.Failed("QueryCache", kLineQueryNoParam, kAssertNull, int{kQueryFailed});
    return Guarded("QueryCache", kLineQueryFailed, int{kQueryFailed}, [&] {
        *result.check_param = param;
        if (!QueryTpl(result)) return int{kQueryFailed};
        return int{Judge(*result.check_param, result.match_items)};
    });
}

bool DLPCacheMgr::QueryTpl(QVKKeywordMatchResult& result) const noexcept {
    if (!result.check_param) return kFrontLog.Failed("QueryTpl", kLineQueryTplNoParam, kAssertNull, false);
    return Guarded("QueryTpl", kLineQueryTplFailed, false, [&] {
        QVKKeywordCheckParam const& param = *result.check_param;
        for (QVKKeywordFileItem const& file_item : param.file_items) {
            QVKKeywordMatchItem item;
            if (!QueryMatchItem(file_item, item)) return false;
            result.match_items.push_back(std::move(item));
        }
        ApplyItemRule(param.item_rule, result);
        return true;
    });
}

int DLPCacheMgr::AddTpl(QVKKeywordMatchResult const& result) const noexcept {
    for (QVKKeywordMatchItem const& item : result.match_items) {
        if (int const ret = AddMatchItem(item)) return ret;
    }
    return kStored;
}
