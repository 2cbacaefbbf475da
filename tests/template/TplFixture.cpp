#include "tests/template/TplFixture.h"

#include "host/policy/KwDefineMgr.h"
#include "tests/support/BucketCount.h"
#include "tests/support/Definitions.h"

TplFixture::TplFixture() {
    SetBucketCount("101");
    definitions_.templates.nodes = {MakeTpl("T1", {"R1", "R2"})};
    definitions_.rules.nodes = {MakeRule("R1", 1001), MakeRule("R2", 1002)};
    auto& data_class = definitions_.data_classes.nodes.emplace_back();
    data_class.common->id = "C1";
    data_class.common->name = "Secret";
    auto& data_level = definitions_.data_levels.nodes.emplace_back();
    data_level.common->id = "L1";
    data_level.common->name = "High";
    Install();
}

void TplFixture::Install() {
    InstallCopyOf(definitions_);
}

void TplFixture::AddRule(std::string const& id, int sub_type) {
    Tpl().rule_ids.emplace_back(id);
    definitions_.rules.nodes.push_back(MakeRule(id, sub_type));
    Install();
}

QVKConfigKeywordTemplateNode const& TplFixture::Current() {
    return *KwDefineMgr::pins()->get_tpl_by_id("T1");
}

HString TplFixture::CurrentMd5() {
    return KwDefineMgr::pins()->get_md5_by_tpl(Current());
}

std::unique_ptr<DLPCacheTpl> TplFixture::Open() {
    return std::make_unique<DLPCacheTpl>(Current(), CurrentMd5());
}

std::string TplFixture::Dir() const {
    return Dir("T1", CurrentMd5().get_str());
}

std::string TplFixture::Dir(std::string const& tpl_id, std::string const& md5) const {
    return root_ / "cache/template/" + tpl_id + "/" + md5 + "/";
}

void TplFixture::SetBucketCount(std::string const& value) {
    ::SetBucketCount(root_.Path(), value);
}

QVKConfigKeywordTemplateNode MakeTpl(std::string const& id, std::vector<HString> const& rule_ids) {
    QVKConfigKeywordTemplateNode tpl;
    tpl.common->id = id;
    tpl.common->name = "Contracts";
    tpl.data_class_id = "C1";
    tpl.data_level_id = "L1";
    tpl.rule_ids = rule_ids;
    return tpl;
}

QVKConfigKeywordFormatItemNode MakeRule(std::string const& id, int sub_type) {
    QVKConfigKeywordFormatItemNode rule;
    rule.common->id = id;
    rule.common->name = "name of " + id;
    rule.sub_type = sub_type;
    rule.rule_type = 1;
    rule.rule_text = "text of " + id;
    return rule;
}

QVKReportKeywordAttachItem MakeItem(std::string const& rule_id, int sub_type) {
    QVKReportKeywordAttachItem item;
    item.rule_id = rule_id;
    item.sub_type = sub_type;
    item.match_count = 3;
    item.match_text_1 = "one";
    item.match_text_2 = "two";
    item.match_text_3 = "three";
    item.file_short_name = "a.txt";
    return item;
}

QVKReportKeywordAttachNode TwoItems() {
    QVKReportKeywordAttachNode node;
    node.items = {MakeItem("R1", 1001), MakeItem("R2", 1002)};
    return node;
}

Found FindIn(DLPCacheTpl const& cache, HString const& key) {
    Found found;
    found.code = cache.Find(key, found.node, found.text, found.stored_name);
    return found;
}

Found FindIn(DLPCacheTpl const& cache, DLPCacheTpl::Key const& key) {
    Found found;
    found.code = cache.Find(key, found.node, found.text, found.stored_name);
    return found;
}

DLPCacheTpl::Key MakeKey(std::string const& short_name, std::string const& md5) {
    DLPCacheTpl::Key key;
    key.short_name = short_name;
    key.md5 = md5;
    return key;
}
