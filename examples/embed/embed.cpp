// The least that a scanner does with the library: ask, scan, store, be answered.
#include <iostream>

#include "front/DLPCacheMgr.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"

int main(int argc, char** argv) {
    if (argc > 1) KwLocateMgr::pins()->set_root(argv[1]);  // else $TORVANE_ROOT or the default

    KwDefinitions definitions;  // one template with one rule
    auto& rule = definitions.rules.nodes.emplace_back();
    rule.common->id = "plans-word";
    rule.rule_type = 1;    // content
    rule.sub_type = 1001;  // keyword
    rule.rule_text = "secret plan";
    auto& tpl = definitions.templates.nodes.emplace_back();
    tpl.common->id = "plans";
    tpl.rule_ids = {"plans-word"};
    if (!KwDefineMgr::pins()->install(definitions)) return 1;

    QVKKeywordCheckParam check;  // what to ask: one file, one template
    auto& item = check.file_items.emplace_back();
    item.file_nodes.push_back({"/home/ann/plan.txt", "0cc175b9c0f1b6a831c399e269772661", ""});
    item.tpl_ids = {"plans"};
    item.lookup_flag = item.check_every_node = item.count_matched = true;
    item.threshold = 1;

    QVKKeywordMatchResult asked, answered;
    int const before = DLPCacheMgr::pins()->QueryCache(check, asked);
    if (before == DLPCache::kMiss) {  // now the file is scanned, and the answer stored
        auto& node = asked.match_items[0].match_nodes[0];
        node.matched_tpl_ids.push_back("plans");
        auto& found = node.attach_nodes.emplace_back().items.emplace_back();
        found.rule_id = "plans-word";
        found.sub_type = 1001;
        found.match_count = 3;
        DLPCacheMgr::pins()->AddTpl(asked);
    }
    int const after = DLPCacheMgr::pins()->QueryCache(check, answered);
    std::cout << "first query " << before << ", second query " << after << ", verdict "
              << DLPCacheMgr::pins()->GetSensResult(answered).get_str();
    return after == DLPCache::kFullHit ? 0 : 1;
}
