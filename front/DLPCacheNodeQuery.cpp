#include "front/DLPCacheNodeQuery.h"

#include <memory>
#include <span>
#include <utility>

#include "front/DLPCacheMgrLog.h"
#include "front/DLPCacheTplLookup.h"
#include "front/DLPCacheVerdict.h"
#include "host/policy/KwDefineMgr.h"

namespace DLPCache {

namespace {

unsigned long long CountPositions(QVKKeywordText const& text) {
    unsigned long long count = 0;
    for (QVKKeywordLinePos const& line : text.line_positions)
        count += line.positions.size();
    return count;
}

}  // namespace

NodeQuery::NodeQuery(QVKKeywordFileNode const& file_node, bool lookup_flag, QVKKeywordMatchNode& node)
    : file_node_(file_node), lookup_flag_(lookup_flag), node_(node), key_(MakeFileKey(file_node)) {
    if (!node.file_node) node.file_node = std::make_shared<QVKKeywordFileNode>();
    if (!node.tips) node.tips = std::make_shared<QVKKeywordFileTips>();
    *node.file_node = file_node;
    node.tips->file_path = file_node.file_path;
    shown_level_ = node.tips->data_level;
}

void NodeQuery::Run(std::vector<HString> const& tpl_ids) {
    for (HString const& tpl_id : tpl_ids) {
        if (!Ask(tpl_id)) break;
    }
    FillTips();
}

bool NodeQuery::Ask(HString const& tpl_id) {
    TplLookup const found = LookUpTpl(tpl_id);
    if (found.cache == nullptr) return true;

    QVKReportKeywordAttachNode attach_node;
    QVKKeywordText text;
    HString stored_name;
    int const ret = found.cache->Find(key_, attach_node, text, stored_name);
    if (ret < 0) {
        kFrontLog.Write(kLogError, kLineFindFailed, "file md5: ", file_node_.file_md5, ", tpl id: ", tpl_id,
                        ", find cache failed. ret: ", ret);
        return true;
    }
    if (ret == kTplNotMatched) node_.unmatched_tpl_ids.push_back(tpl_id);
    if (ret == kTplNotCached) missed_ = true;
    if (ret == kTplMatched) {
        TakeMatch(tpl_id, *found.tpl, std::move(attach_node), std::move(text), std::move(stored_name));
        if (!lookup_flag_ && !missed_) {
            node_.sensitive = true;
            return false;
        }
    }
    kFrontLog.Write(kLogInformation, kLineFindDone, "file md5: ", file_node_.file_md5, ", tpl id: ", tpl_id,
                    ", find cache success. ret: ", ret);
    return true;
}

void NodeQuery::TakeMatch(HString const& tpl_id, QVKConfigKeywordTemplateNode const& tpl,
                          QVKReportKeywordAttachNode&& attach_node, QVKKeywordText&& text, HString&& stored_name) {
    node_.matched_tpl_ids.push_back(tpl_id);
    node_.attach_nodes.push_back(std::move(attach_node));
    node_.texts.push_back(std::move(text));
    TakeLevel(tpl, std::move(stored_name));
}

// A template whose data level is not defined is not shown, nor is its data class.
void NodeQuery::TakeLevel(QVKConfigKeywordTemplateNode const& tpl, HString&& stored_name) {
    KwDefineMgr const* const definitions = KwDefineMgr::pins();
    QVKConfigKeywordDataLevelNode const* const level = definitions->get_data_level_by_id(tpl.data_level_id);
    if (level == nullptr) return;
    if (shown_level_ == 0 || shown_level_ > level->level) {
        shown_level_ = level->level;
        shown_ = level;
        shown_tpl_ = &tpl;
        shown_name_ = std::move(stored_name);
        shown_attach_nodes_ = node_.attach_nodes.size();
        shown_text_ = node_.texts.size() - 1;
    }
    QVKConfigKeywordDataClassNode const* const data_class = definitions->get_data_class_by_id(tpl.data_class_id);
    if (data_class != nullptr) class_names_.insert(data_class->common->name);
}

void NodeQuery::FillTips() {
    QVKKeywordFileTips& tips = *node_.tips;
    tips.data_class_names = HString::make_by_set_s(class_names_, "|");
    if (shown_ == nullptr) return;
    tips.data_level = shown_level_;
    tips.data_level_name = shown_->common->name;
    tips.data_level_id = shown_tpl_->data_level_id;
    tips.sens_result = MakeVerdict(std::span(node_.attach_nodes).first(shown_attach_nodes_));
    tips.stored_name = std::move(shown_name_);
    tips.text = node_.texts[shown_text_];
    tips.position_count = CountPositions(tips.text);
}

}  // namespace DLPCache
