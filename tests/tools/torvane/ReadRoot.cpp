#include "tests/tools/torvane/ReadRoot.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "front/DLPCacheMgr.h"
#include "host/base/LocateMgr.h"
#include "sensrecord/DLPCacheSensRecordMgr.h"
#include "task/DLPCacheTask.h"
#include "task/DLPCacheTaskMgr.h"
#include "tests/support/BucketCount.h"
#include "tests/support/Definitions.h"
#include "tests/support/KeywordText.h"
#include "text/DLPCacheText.h"

namespace {

constexpr int kBuckets = 101;

QVKKeywordMatchNode Scanned(std::string const& path, std::string const& md5) {
    QVKKeywordMatchNode node;
    node.file_node->file_path = HString(path);
    node.file_node->file_md5 = HString(md5);
    node.tips->stored_name = HString("stored name");
    return node;
}

QVKPolicySensitiveFileAuditNode Policy() {
    QVKPolicySensitiveFileAuditNode policy;
    policy.policy->id = HString("p1");
    policy.policy->time_stamp = 1700000000;
    policy.tpl_ids = {HString("T1")};
    policy.keep = true;
    return policy;
}

std::string Times(struct stat const& status) {
    auto const text = [](struct timespec const& time) {
        return " " + std::to_string(time.tv_sec) + "." + std::to_string(time.tv_nsec);
    };
    return text(status.st_mtim) + text(status.st_ctim);
}

}  // namespace

ReadRoot::ReadRoot() {
    SetBucketCount(Root(), std::to_string(kBuckets));
}

void ReadRoot::Define(std::string const& template_id, std::string const& rule_text) {
    std::erase_if(definitions_.templates.nodes,
                  [&](auto const& node) { return node.common->id == HString(template_id); });
    std::erase_if(definitions_.rules.nodes,
                  [&](auto const& node) { return node.common->id == HString("rule " + template_id); });
    QVKConfigKeywordFormatItemNode rule;
    rule.common->id = HString("rule " + template_id);
    rule.common->name = HString("name of the rule");
    rule.sub_type = 1001;
    rule.rule_type = 1;
    rule.rule_text = HString(rule_text);
    definitions_.rules.nodes.push_back(rule);
    QVKConfigKeywordTemplateNode tpl;
    tpl.common->id = HString(template_id);
    tpl.common->name = HString("template " + template_id);
    tpl.rule_ids = {rule.common->id};
    definitions_.templates.nodes.push_back(tpl);
}

void ReadRoot::DefineByName(std::string const& template_id) {
    Define(template_id, "*.txt");
    definitions_.rules.nodes.back().sub_type = 2001;
    definitions_.rules.nodes.back().rule_type = 2;
}

void ReadRoot::AsAgent(std::function<void()> const& work) const {
    pid_t const child = ::fork();
    if (child == 0) {
        Varnok::LocateMgr::pins()->set_root(HString(Root()));
        EXPECT_EQ(definitions_.save(HString(Root() + "/config")), 0);
        InstallCopyOf(definitions_);
        work();
        ::_exit(HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0) << "the agent failed";
}

void ReadRoot::StoreMatch(std::string const& path, std::string const& md5, std::string const& template_id) {
    QVKKeywordMatchNode node = Scanned(path, md5);
    QVKReportKeywordAttachItem item;
    item.sub_type = 1001;
    item.rule_id = HString("rule " + template_id);
    item.match_count = 3;
    item.match_text_1 = HString("matched words");
    QVKReportKeywordAttachNode attached;
    attached.items = {item};
    node.matched_tpl_ids = {HString(template_id)};
    node.attach_nodes = {attached};
    node.texts = {MakeText("a secret text")};
    EXPECT_EQ(DLPCacheMgr::pins()->AddMatchNode(node), 0);
}

void ReadRoot::StoreNoMatch(std::string const& path, std::string const& md5, std::string const& template_id) {
    QVKKeywordMatchNode node = Scanned(path, md5);
    node.unmatched_tpl_ids = {HString(template_id)};
    EXPECT_EQ(DLPCacheMgr::pins()->AddMatchNode(node), 0);
}

void ReadRoot::AddTask(std::string const& task_id) {
    auto* const task = new ScanTask;  // the registry's from now on
    task->id = HString(task_id);
    task->name = HString("nightly");
    task->start_time = 1700000000;
    task->status = kTaskRunning;
    *task->policy->audit_node = Policy();
    DLPCacheTaskMgr::pins()->AddTask(task);
}

void ReadRoot::AddFinding(std::string const& task_id, std::string const& path) {
    SensFile file;
    file.task_id = HString(task_id);
    file.file_path = HString(path);
    file.file_md5 = HString("MD5");
    file.file_attrs = {12, 1700000001, 1700000002, 1700000003};
    file.tpl_ids = {HString("T1")};
    file.extra_1 = HString("a secret verdict");
    auto* const writer = DLPCacheTaskMgr::pins()->GetCache(HString(task_id));
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(writer->AddNumbered(file), 1);
    EXPECT_TRUE(writer->WaitWritten(60000));
}

void ReadRoot::Count(std::string const& path, int times) {
    auto* const counts = DLPCache::DLPCacheSensRecordMgr::pins();
    for (int i = 1; i <= times; ++i)
        EXPECT_EQ(counts->GetPolicyFileFoundTimes(HString(path), Policy()), i);
}

void ReadRoot::CountOnce(std::string const& path) {
    EXPECT_GE(DLPCache::DLPCacheSensRecordMgr::pins()->GetPolicyFileFoundTimes(HString(path), Policy()), 1);
}

void ReadRoot::AddText(std::string const& task_id, std::string const& name) {
    EXPECT_EQ(DLPCacheText(HString(task_id)).Add(HString(name), MakeText("a secret text")), 1);
}

void ReadRoot::MakeSmallRoot() {
    Define("T1");
    AsAgent([] {
        StoreMatch("/x/a.txt", kMd5A, "T1");
        StoreNoMatch("/x/b.txt", kMd5B, "T1");
        AddTask("t1");
        AddFinding("t1", "/x/a.txt");
        AddText("t1", "text/1");
        Count("/a", 2);
    });
}

std::string ReadRoot::File(std::string const& name, std::string const& content) const {
    WriteBytes(root_ / name, content);
    return root_ / name;
}

std::string ReadRoot::TemplateStore(std::string const& template_id) const {
    std::string const directory = Root() + "/cache/template/" + template_id;
    std::vector<std::string> const names = Files(directory);
    EXPECT_EQ(names.size(), 1U);
    return directory + "/" + (names.empty() ? "none" : names.front());
}

ToolResult ReadRoot::Run(std::vector<std::string> words) const {
    words.insert(words.begin(), {"--root", Root()});
    return tool_.Run(words);
}

nlohmann::ordered_json ReadRoot::Json(std::vector<std::string> words) const {
    words.insert(words.begin(), {"--format", "json"});
    ToolResult const result = Run(words);
    EXPECT_TRUE(FollowsSchema(result.out, "json")) << result.out << result.err;
    return result.Json();
}

nlohmann::ordered_json ReadRoot::Why(std::string const& path, std::string const& template_id) const {
    return Json({"why", path, "--template", template_id});
}

std::vector<std::string> EverythingBelow(std::string const& directory) {
    std::vector<std::string> all;
    auto const add = [&](std::string const& path) {
        struct stat status {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        all.push_back(path + " " + std::to_string(status.st_ino) + " " + std::to_string(status.st_mode) +
                      Times(status) + (S_ISREG(status.st_mode) ? ReadBytes(path) : ""));
    };
    add(directory);
    for (auto const& entry : std::filesystem::recursive_directory_iterator(directory))
        add(entry.path().string());
    std::sort(all.begin(), all.end());
    return all;
}
