#pragma once

#include <cstddef>
#include <set>
#include <vector>

#include "host/base/HString.h"
#include "host/policy/QVKConfigKeywordDataLevelNode.h"
#include "host/policy/QVKConfigKeywordTemplateNode.h"
#include "host/policy/QVKKeywordFileNode.h"
#include "host/policy/QVKKeywordMatchNode.h"
#include "template/DLPCacheTpl.h"

namespace DLPCache {

// Answers one file from the caches of its templates: asks them in order, appends their answers to the match node and
// shows, in the node's tips, the matched template of the lowest data level. Lives for one query of one thread; throws
// std::bad_alloc.
class NodeQuery {
  public:
    // The node's file node and tips are made when they are null. Parameters outlive the query.
    NodeQuery(QVKKeywordFileNode const& file_node, bool lookup_flag, QVKKeywordMatchNode& node);
    void Run(std::vector<HString> const& tpl_ids);

  private:
    // False: the look-up ends here.
    bool Ask(HString const& tpl_id);
    void TakeMatch(HString const& tpl_id, QVKConfigKeywordTemplateNode const& tpl,
                   QVKReportKeywordAttachNode&& attach_node, QVKKeywordText&& text, HString&& stored_name);
    void TakeLevel(QVKConfigKeywordTemplateNode const& tpl, HString&& stored_name);
    void FillTips();

    QVKKeywordFileNode const& file_node_;
    bool const lookup_flag_;
    QVKKeywordMatchNode& node_;
    DLPCacheTpl::Key key_;
    bool missed_ = false;
    std::set<HString> class_names_;

    // The template that the tips will show. They are filled once, at the end, with the verdict over the attach nodes
    // that the node had when the template was chosen: wording it at each choice would cost the square of the matches.
    int shown_level_;
    QVKConfigKeywordDataLevelNode const* shown_ = nullptr;  // null: the tips stay
    QVKConfigKeywordTemplateNode const* shown_tpl_ = nullptr;
    HString shown_name_;
    std::size_t shown_attach_nodes_ = 0;
    std::size_t shown_text_ = 0;
};

}  // namespace DLPCache
