#include "tests/front/FrontFixture.h"

#include <ostream>
#include <utility>

#include "tests/support/BucketCount.h"
#include "tests/support/Definitions.h"

namespace {

template <class Node>
Node Named(std::string const& id, std::string const& name) {
    Node node;
    node.common->id = HString(id);
    node.common->name = HString(name);
    return node;
}

QVKConfigKeywordFormatItemNode Rule(std::string const& id, int sub_type, int rule_type, std::string const& text) {
    auto rule = Named<QVKConfigKeywordFormatItemNode>(id, "name of " + id);
    rule.sub_type = sub_type;
    rule.rule_type = rule_type;
    rule.rule_text = HString(text);
    return rule;
}

}  // namespace

void FrontTest::SetBuckets(int count) {
    SetBucketCount(root_.Path(), std::to_string(count));
}

void FrontTest::DefineLevel(std::string const& id, int level) {
    auto node = Named<QVKConfigKeywordDataLevelNode>(id, "level " + id);
    node.level = level;
    definitions_.data_levels.nodes.push_back(node);
}

void FrontTest::DefineClass(std::string const& id) {
    definitions_.data_classes.nodes.push_back(Named<QVKConfigKeywordDataClassNode>(id, "class " + id));
}

void FrontTest::DefineTpl(std::string const& id, std::string const& level_id, std::string const& class_id) {
    auto tpl = Named<QVKConfigKeywordTemplateNode>(id, "template " + id);
    tpl.data_level_id = HString(level_id);
    tpl.data_class_id = HString(class_id);
    tpl.rule_ids = {HString("rule " + id)};
    definitions_.templates.nodes.push_back(tpl);
    definitions_.rules.nodes.push_back(Rule("rule " + id, 1001, 1, "word " + id));
}

void FrontTest::DefineNameDependentTpl(std::string const& id) {
    DefineTpl(id);
    definitions_.templates.nodes.back().rule_ids.push_back(HString("name rule " + id));
    definitions_.rules.nodes.push_back(Rule("name rule " + id, 2001, 2, "*.txt"));
}

void FrontTest::Install() {
    InstallCopyOf(definitions_);
}

void FrontTest::InstallFailingTpl(std::string const& id) {
    SetBuckets(kNoUsableBucket);
    DefineTpl(id);
    Install();
    (void)AskNode('f', {HString(id)});  // makes the cache
    SetBuckets(kBuckets);
}

QVKKeywordFileNode FrontTest::File(char letter) {
    QVKKeywordFileNode file;
    file.file_path = HString(std::string("/data/") + letter + ".txt");
    file.file_md5 = HString(std::string(32, letter));
    return file;
}

QVKKeywordFileItem FrontTest::Item(std::string const& files, std::vector<HString> tpl_ids) {
    QVKKeywordFileItem item;
    for (char const letter : files)
        item.file_nodes.push_back(File(letter));
    item.tpl_ids = std::move(tpl_ids);
    item.lookup_flag = true;
    item.check_every_node = true;
    item.count_matched = true;
    item.threshold = 1;
    return item;
}

QVKReportKeywordAttachNode FrontTest::Attach(HString const& tpl_id, long long count) {
    QVKReportKeywordAttachItem item;
    item.sub_type = 1001;
    item.rule_id = HString("rule ");
    item.rule_id << tpl_id;
    item.match_count = count;
    QVKReportKeywordAttachNode node;
    node.items.push_back(item);
    return node;
}

QVKKeywordText FrontTest::Text(HString const& tpl_id, int positions) {
    QVKKeywordText text;
    text.tpl_id = tpl_id;
    text.text = HString("text for ");
    text.text << tpl_id;
    text.line_positions.resize(2);  // one line with a single position, one with the others
    for (int i = 0; i < positions; ++i)
        text.line_positions[i == 0 ? 0 : 1].positions.push_back({i, i + 4});
    return text;
}

QVKKeywordMatchNode FrontTest::Scanned(char letter) {
    QVKKeywordMatchNode node;
    *node.file_node = File(letter);
    node.tips->stored_name = HString(std::string("stored ") + letter);
    return node;
}

void FrontTest::AddMatch(QVKKeywordMatchNode& node, HString const& tpl_id, int count) {
    node.matched_tpl_ids.push_back(tpl_id);
    node.attach_nodes.push_back(Attach(tpl_id, count));
    node.texts.push_back(Text(tpl_id, count));
}

void FrontTest::AddNoMatch(QVKKeywordMatchNode& node, HString const& tpl_id) {
    node.unmatched_tpl_ids.push_back(tpl_id);
}

void FrontTest::StoreMatch(char letter, HString const& tpl_id, int count) {
    QVKKeywordMatchNode node = Scanned(letter);
    AddMatch(node, tpl_id, count);
    ASSERT_EQ(Front().AddMatchNode(node), 0);
}

void FrontTest::StoreNoMatch(char letter, HString const& tpl_id) {
    QVKKeywordMatchNode node = Scanned(letter);
    AddNoMatch(node, tpl_id);
    ASSERT_EQ(Front().AddMatchNode(node), 0);
}

QVKKeywordMatchNode FrontTest::AskNode(char letter, std::vector<HString> const& tpl_ids, bool lookup_flag) {
    QVKKeywordMatchNode node;
    EXPECT_TRUE(Front().QueryMatchNode(File(letter), tpl_ids, lookup_flag, node));
    return node;
}

QVKKeywordMatchItem FrontTest::AskItem(QVKKeywordFileItem const& file_item) {
    QVKKeywordMatchItem item;
    EXPECT_TRUE(Front().QueryMatchItem(file_item, item));
    return item;
}

int FrontTest::Ask(QVKKeywordCheckParam const& param, QVKKeywordMatchResult& result) {
    return Front().QueryCache(param, result);
}

int FrontTest::AskCode(std::vector<QVKKeywordFileItem> file_items) {
    QVKKeywordCheckParam param;
    param.file_items = std::move(file_items);
    QVKKeywordMatchResult result;
    return Ask(param, result);
}

void PrintTo(HString const& text, std::ostream* out) {
    *out << '"' << text.get_str() << '"';
}

std::vector<HString> Ids(std::initializer_list<char const*> ids) {
    return {ids.begin(), ids.end()};
}
