#include "tests/task/StoreFixture.h"

#include "host/policy/KwDefineMgr.h"
#include "tests/support/BucketCount.h"
#include "tests/support/Definitions.h"

namespace {

QVKConfigKeywordTemplateNode MakeTemplate(char const* id, char const* name, char const* rule, char const* data_class,
                                          char const* data_level) {
    QVKConfigKeywordTemplateNode tpl;
    tpl.common->id = id;
    tpl.common->name = name;
    tpl.data_class_id = data_class;
    tpl.data_level_id = data_level;
    tpl.rule_ids = {rule};
    return tpl;
}

QVKConfigKeywordFormatItemNode MakeRule(char const* id) {
    QVKConfigKeywordFormatItemNode rule;
    rule.common->id = id;
    rule.sub_type = 1001;
    rule.rule_type = 1;
    rule.rule_text = "secret";
    return rule;
}

QVKConfigKeywordDataClassNode MakeClass(char const* id, char const* name) {
    QVKConfigKeywordDataClassNode data_class;
    data_class.common->id = id;
    data_class.common->name = name;
    return data_class;
}

QVKConfigKeywordDataLevelNode MakeLevel(char const* id, char const* name, int level) {
    QVKConfigKeywordDataLevelNode data_level;
    data_level.common->id = id;
    data_level.common->name = name;
    data_level.level = level;
    return data_level;
}

}  // namespace

StoreFixture::StoreFixture() : task_(MakeTask("task-1", {"T1", "T2"})) {
    SetBucketCount(root_.Path(), "101");
    definitions_.templates.nodes = {MakeTemplate("T1", "Contracts", "R1", "C1", "L1"),
                                    MakeTemplate("T2", "Invoices", "R2", "C2", "L2")};
    definitions_.rules.nodes = {MakeRule("R1"), MakeRule("R2")};
    definitions_.data_classes.nodes = {MakeClass("C1", "Secret"), MakeClass("C2", "Money")};
    definitions_.data_levels.nodes = {MakeLevel("L1", "High", 3), MakeLevel("L2", "Low", 1)};
    Install();
}

void StoreFixture::Install() const {
    InstallCopyOf(definitions_);
}

void StoreFixture::ChangeT1() {
    definitions_.rules.nodes.front().rule_text = "changed";
    Install();
}

void StoreFixture::RemoveTemplate(char const* id) {
    std::erase_if(definitions_.templates.nodes, [id](auto const& tpl) { return tpl.common->id == HString(id); });
    Install();
}

HString StoreFixture::CurrentMd5(char const* tpl_id) {
    return KwDefineMgr::pins()->get_md5_by_tpl(*KwDefineMgr::pins()->get_tpl_by_id(tpl_id));
}

ScanTask MakeTask(std::string const& id, std::vector<HString> const& tpl_ids) {
    ScanTask task;
    task.id = id;
    task.policy->audit_node->tpl_ids = tpl_ids;
    return task;
}

SensFile MakeFile(std::string const& path) {
    SensFile file;
    file.task_id = "task-1";
    file.file_path = path;
    file.file_md5 = "0CC175B9C0F1B6A831C399E269772661";
    file.file_attrs = {300, 1700000000, 1700000001, -1};
    file.tpl_ids = {"T1", "T2"};
    file.extra_1 = "verdict";
    file.extra_2 = "extra";
    return file;
}

SensFile Stored(std::string const& path, int sn) {
    SensFile file = MakeFile(path);
    file.sn = sn;
    KwDefineMgr const& current = *KwDefineMgr::pins();
    file.tpl_md5s = {current.get_tpl_by_id("T1")->get_data_md5(), current.get_tpl_by_id("T2")->get_data_md5()};
    file.tpl_names = {"Contracts", "Invoices"};
    file.data_classes = {"Secret", "Money"};
    return file;
}

std::vector<std::string> TakeOwn(LogLines& log) {
    std::vector<std::string> texts;
    for (LogLines::Line const& line : log.Take()) {
        if (line.source == "../DLPCacheTask.cpp") texts.push_back(std::to_string(line.level) + " " + line.text);
    }
    return texts;
}
