#include "tests/stress/StressAgent.h"

#include <gtest/gtest.h>

#include <mutex>

#include "host/base/Murmur3.h"
#include "host/policy/KwDefineMgr.h"
#include "tests/support/BucketCount.h"

namespace stress {
namespace {

long long Count(int content, int edit) {
    return content * 10 + edit;
}

}  // namespace

std::string TplId(int tpl) {
    return "template " + std::to_string(tpl);
}

std::vector<HString> EveryTpl() {
    std::vector<HString> ids;
    for (int tpl = 0; tpl < kTemplates; ++tpl)
        ids.push_back(HString(TplId(tpl)));
    return ids;
}

std::string Word(int tpl, int edit) {
    return "word " + std::to_string(tpl) + " edit " + std::to_string(edit);
}

std::vector<HString> MakeMd5s(std::size_t count) {
    std::vector<HString> md5s;
    for (int number = 0; md5s.size() < count; ++number) {
        HString const md5(HString(number).get_md5_std_format(""));
        std::string const key = md5.get_md5_std_format_lower("").get_str();
        if (Varnok::Murmur3_32(key.data(), static_cast<int>(key.size())) % kBuckets != 0) md5s.push_back(md5);
    }
    return md5s;
}

Agent::Agent(std::string const& root, int buckets) {
    SetBucketCount(root, std::to_string(buckets));
    Install();
}

void Agent::Replace(std::mt19937& random) {
    std::unique_lock const lock(gate_);
    edits_[random() % kTemplates] = static_cast<int>(random() % 3) - 1;
    Install();
}

void Agent::Install() {
    KwDefinitions definitions;
    QVKConfigKeywordDataLevelNode level;
    level.common->id = "level";
    level.level = 1;
    definitions.data_levels.nodes.push_back(level);
    for (int tpl = 0; tpl < kTemplates; ++tpl) {
        if (Edit(tpl) != kAbsent) Define(definitions, tpl);
    }
    ASSERT_TRUE(KwDefineMgr::pins()->install(std::move(definitions)));
}

void Agent::Define(KwDefinitions& definitions, int tpl) const {
    QVKConfigKeywordFormatItemNode rule;
    rule.common->id = HString("rule of " + TplId(tpl));
    rule.sub_type = 1001;
    rule.rule_type = 1;
    rule.rule_text = HString(Word(tpl, Edit(tpl)));
    definitions.rules.nodes.push_back(rule);
    QVKConfigKeywordTemplateNode node;
    node.common->id = HString(TplId(tpl));
    node.data_level_id = "level";
    node.rule_ids = {rule.common->id};
    definitions.templates.nodes.push_back(node);
}

QVKKeywordFileItem MakeItem(HString const& path, HString const& md5, std::vector<HString> tpl_ids) {
    QVKKeywordFileNode file;
    file.file_path = path;
    file.file_md5 = md5;
    QVKKeywordFileItem item;
    item.file_nodes.push_back(file);
    item.tpl_ids = std::move(tpl_ids);
    item.lookup_flag = true;
    item.check_every_node = true;
    item.count_matched = true;
    item.threshold = 1;
    return item;
}

void AddMatch(int content, int tpl, int edit, QVKKeywordMatchNode& node) {
    QVKReportKeywordAttachItem item;
    item.sub_type = 1001;
    item.rule_id = HString("rule of " + TplId(tpl));
    item.match_count = Count(content, edit);
    node.attach_nodes.push_back({{item}});
    node.matched_tpl_ids.push_back(HString(TplId(tpl)));
    QVKKeywordText text;
    text.tpl_id = HString(TplId(tpl));
    text.text = HString(Word(tpl, edit) + " in content " + std::to_string(content));
    node.texts.push_back(text);
}

void CheckMatch(int content, HString const& tpl_id, QVKReportKeywordAttachNode const& attach_node,
                QVKKeywordText const& text) {
    ASSERT_EQ(attach_node.items.size(), 1U);
    QVKReportKeywordAttachItem const& item = attach_node.items[0];
    int const edit = static_cast<int>(item.match_count % 10);
    ASSERT_EQ(item.match_count, Count(content, edit));
    ASSERT_EQ(item.tpl_id.get_str(), tpl_id.get_str());
    ASSERT_EQ(text.tpl_id.get_str(), tpl_id.get_str());
    int const tpl = tpl_id.get_str().back() - '0';
    ASSERT_EQ(item.rule_text.get_str(), Word(tpl, edit));
    ASSERT_EQ(text.text.get_str(), Word(tpl, edit) + " in content " + std::to_string(content));
}

}  // namespace stress
