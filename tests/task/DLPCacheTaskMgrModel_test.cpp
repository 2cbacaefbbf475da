// Random operations on the process's own registry and template caches against a plain model, over several lives: each
// is a process of its own over the files that the one before has left.
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <random>
#include <set>

#include "host/policy/KwDefineMgr.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"
#include "task/DLPCacheTaskMgr.h"
#include "template/DLPCacheTplMgr.h"
#include "tests/support/BucketCount.h"
#include "tests/support/Seed.h"
#include "tests/task/TaskModel.h"
#include "tests/template/TplFixture.h"

namespace {

namespace fs = std::filesystem;
using task_model::Model;
using task_model::Policy;
using task_model::Task;

constexpr int kLives = 6;
constexpr int kOperations = 150;  // of one life
constexpr int kTemplates = 3;
constexpr int kPatience = 60000;  // milliseconds until a queue must be written

// The model, and the operations on it. In a child process they are done on the library as well, and compared; the
// parent then draws the same random numbers and keeps the model alone.
class World {
  public:
    World(TempRoot const& root, unsigned seed) : root_(root), random_(seed) {}

    void Live(bool real) {
        real_ = real;
        removed_.clear();
        model_.Restart();
        if (real_) {
            Install();
            ASSERT_NE(DLPCacheTaskMgr::pins(), nullptr);
        }
        for (int i = 0; i < kOperations && !testing::Test::HasFailure(); ++i) {
            Operate();
            if (real_) ExpectFiles();
        }
        if (real_) {
            EXPECT_TRUE(Registry().WaitAllWritten(kPatience));
        }
    }

  private:
    static DLPCacheTaskMgr& Registry() { return *DLPCacheTaskMgr::pins(); }
    static DLPCacheTplMgr& Caches() { return *DLPCacheTplMgr::pins(); }
    int Draw(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }
    static std::string TplId(int tpl) { return "T" + std::to_string(tpl); }

    void Operate() {
        switch (Draw(16)) {
            case 0:
            case 1:
                return AddTask();
            case 2:
                return AddKnownTask();
            case 3:
                return UpdateStatus();
            case 4:
                return GetTask();
            case 5:
                return History();
            case 6:
                return QueryByPolicy();
            case 7:
            case 8:
                return Remove();
            case 9:
                return ReplaceDefinitions();
            case 10:
                return ReplacePolicies();
            case 11:
            case 12:
                return Record();
            case 13:
                return MakeCache();
            case 14:
                return Prune();
            default:
                return AskMd5();
        }
    }

    // Definitions.

    static KwDefinitions Definitions(std::map<int, int> const& edits) {
        KwDefinitions definitions;
        for (auto const& [tpl, edit] : edits) {
            definitions.rules.nodes.push_back(MakeRule("R" + std::to_string(tpl), 1001));
            definitions.rules.nodes.back().rule_text = HString("edit " + std::to_string(edit));
            definitions.templates.nodes.push_back(MakeTpl(TplId(tpl), {definitions.rules.nodes.back().common->id}));
        }
        return definitions;
    }
    void Install() const { ASSERT_TRUE(KwDefineMgr::pins()->install(Definitions(edits_))); }
    // Of the template as it is defined now; empty when it is not.
    [[nodiscard]] std::string Md5(int tpl) const {
        auto const edit = edits_.find(tpl);
        if (edit == edits_.end()) return "";
        KwDefineMgr definitions;
        EXPECT_TRUE(definitions.install(Definitions({*edit})));
        return definitions.get_md5_by_tpl(*definitions.get_tpl_by_id(HString(TplId(tpl)))).get_str();
    }
    void ReplaceDefinitions() {
        int const tpl = Draw(kTemplates);
        if (Draw(5) == 0) {
            edits_.erase(tpl);
        } else {
            edits_[tpl] = Draw(4);
        }
        if (real_) Install();
    }

    // Policies.

    Policy DrawPolicy() {
        return {"P" + std::to_string(Draw(3)), 60 * (1 + Draw(3)), Draw(3) == 0};  // a version is a minute of 1970
    }
    static QVKPolicySensitiveFileAuditNode Node(Policy const& policy, std::vector<int> const& tpls) {
        QVKPolicySensitiveFileAuditNode node;
        node.policy->id = HString(policy.id);
        node.policy->time_stamp = policy.version;
        node.keep = policy.keep;
        for (int const tpl : tpls)
            node.tpl_ids.emplace_back(TplId(tpl));
        return node;
    }
    void ReplacePolicies() {
        model_.policies.clear();
        for (int left = Draw(4); left > 0; --left)
            model_.policies.push_back(DrawPolicy());
        bool const stored = Draw(2) == 0;
        if (stored) model_.stored_policies = model_.policies;
        if (!real_) return;
        QVKPolicySensitiveFileAuditVT table;
        for (Policy const& policy : model_.policies)
            table.nodes.push_back(Node(policy, {}));
        if (stored) {
            EXPECT_EQ(QVKPolicySensitiveFileAuditVTMgr::pins()->set(table), 0);
        } else {
            EXPECT_TRUE(QVKPolicySensitiveFileAuditVTMgr::pins()->set_no_write_to_arc(table));
        }
    }
    // Tasks.

    std::string DrawId() {
        if (Draw(4) == 0 || model_.tasks.empty()) return "unknown";
        return std::next(model_.tasks.begin(), Draw(static_cast<int>(model_.tasks.size())))->first;
    }
    static ScanTask* MakeObject(std::string const& id, Task const& task) {
        auto* const object = new ScanTask;  // the registry wants it for the life of the process
        object->id = HString(id);
        object->start_time = task.start_time;
        object->status = task.status;
        object->handle = task.handle;
        object->note = "never written";
        *object->policy->kind = task.kind;
        *object->policy->audit_node = Node(task.policy, task.tpls);
        return object;
    }
    void AddTask() {
        Task task;
        task.start_time = ++clock_;
        task.handle = task.recorded_handle = Draw(1000);
        task.kind = static_cast<unsigned char>(Draw(4) == 0);
        task.policy = DrawPolicy();
        for (int tpl = 0; tpl < kTemplates; ++tpl) {
            if (Draw(2) == 0) task.tpls.push_back(tpl);
        }
        task.realtime = Draw(6) == 0;
        std::string id = "task/" + std::to_string(Draw(30));
        if (task.realtime) id = "000000000000000-19700101000" + std::to_string(task.policy.version / 60) + "00";
        if (model_.tasks.contains(id) || removed_.contains(id)) return;
        model_.tasks[id] = task;
        if (real_) Registry().AddTask(MakeObject(id, task));
    }
    // With other values, which the record must replace.
    void AddKnownTask() {
        std::string const id = DrawId();
        auto const entry = model_.tasks.find(id);
        if (entry == model_.tasks.end()) return;
        entry->second.handle = Draw(1000);
        if (!real_) return;
        Task other;
        other.handle = entry->second.handle;
        other.start_time = -1;
        Registry().AddTask(MakeObject(id, other));
        ExpectTask(id);
    }
    void UpdateStatus() {
        std::string const id = DrawId();
        int const status = Draw(7) - 1;
        if (real_) Registry().UpdateTaskStatus(HString(id), status);
        model_.UpdateStatus(id, status);
    }
    void GetTask() {
        std::string const id = DrawId();
        if (real_) ExpectTask(id);
    }
    void ExpectTask(std::string const& id) const {
        ScanTask const* const found = Registry().GetTask(HString(id));
        auto const entry = model_.tasks.find(id);
        ASSERT_EQ(found != nullptr, entry != model_.tasks.end()) << id;
        if (!found) return;
        Task const& task = entry->second;
        EXPECT_EQ(found->id.get_str(), id);
        EXPECT_EQ(found->start_time, task.start_time);
        EXPECT_EQ(found->status, task.status);
        EXPECT_EQ(found->end_time != 0, task.has_end_time);
        EXPECT_EQ(found->handle, task.handle);
        EXPECT_EQ(found->kind(), task.kind);
        EXPECT_EQ(found->audit_node().header().id.get_str(), task.policy.id);
        EXPECT_EQ(found->audit_node().header().time_stamp, task.policy.version);
        EXPECT_EQ(found->audit_node().tpl_ids.size(), task.tpls.size());
    }

    // Queries. Start times differ, so that there is one order.

    using Tasks = std::vector<ScanTask const*>;
    static std::vector<std::string> Ids(Tasks const& tasks) {
        std::vector<std::string> ids;
        for (ScanTask const* task : tasks)
            ids.push_back(task->id.get_str());
        return ids;
    }
    void History() {
        model_.CloseOutdated();
        if (!real_) return;
        Tasks tasks;
        Registry().GetTaskHistory(tasks);
        EXPECT_EQ(Ids(tasks), model_.Ids([](Task const&) { return true; }, true));
        EXPECT_EQ(Registry().GetTaskLast(), tasks.empty() ? nullptr : tasks.front());
        for (ScanTask const* task : tasks)
            EXPECT_EQ(task->status, model_.tasks.at(task->id.get_str()).status) << task->id.get_str();
    }
    void QueryByPolicy() {
        std::string const policy = "P" + std::to_string(Draw(4));
        if (!real_) return;
        Tasks all;
        Registry().GetTaskByPolicyID(HString(policy), all);
        EXPECT_EQ(Ids(all), model_.Ids([&](Task const& task) { return task.policy.id == policy; }, false));
        EXPECT_EQ(Registry().GetTaskLastByPolicyID(HString(policy)), all.empty() ? nullptr : all.back());
        Tasks scans;
        Registry().GetPolicyTaskByPolicyID(HString(policy), scans);
        auto const is_scan = [&](Task const& task) {
            return task.policy.id == policy && task.kind == 0 && !task.realtime;
        };
        EXPECT_EQ(Ids(scans), model_.Ids(is_scan, false));
        Tasks realtime;
        Registry().GetTaskRealtime(realtime);
        EXPECT_EQ(Ids(realtime), model_.Ids([](Task const& task) { return task.realtime; }, true));
        for (ScanTask const* task : all) {
            auto const is_like = [&](Task const& other) {
                return other.policy.id == policy && other.kind == task->kind() &&
                       other.policy.version == task->audit_node().header().time_stamp;
            };
            EXPECT_EQ(Registry().GetTaskCountByTask(*task), model_.Ids(is_like, false).size());
        }
    }

    // Findings.

    void Record() {
        std::string const id = DrawId();
        auto const entry = model_.tasks.find(id);
        if (entry == model_.tasks.end()) {
            EXPECT_TRUE(!real_ || Registry().GetCache(HString(id)) == nullptr);
            return;
        }
        Task& task = entry->second;
        bool const leaves_snap_cache = Draw(2) == 0;
        model_.Open(task);
        task.findings += 1;
        task.snap_cache = task.snap_cache || leaves_snap_cache;
        if (!real_) return;
        if (leaves_snap_cache) WriteBytes(TaskPath(id) + "/SnapCache", "");
        DLPCacheTask* const writer = Registry().GetCache(HString(id));
        ASSERT_NE(writer, nullptr);
        SensFile file;
        file.file_path = HString("/data/" + id + "/" + std::to_string(task.findings));
        file.file_md5 = "md5";
        file.tpl_ids = {"T0"};
        ASSERT_EQ(writer->AddNumbered(file), 1);
        ExpectFinding(id, task.findings);
        ExpectFinding(id, 1);
    }
    static void ExpectFinding(std::string const& id, int number) {
        SensFile file;
        EXPECT_TRUE(Registry().FindTaskSensFileBySN(HString(id), number, file));
        EXPECT_EQ(file.file_path.get_str(), "/data/" + id + "/" + std::to_string(number));
    }
    void AskMd5() {
        std::string const id = DrawId();
        int const tpl = Draw(kTemplates);
        if (!real_) return;
        EXPECT_EQ(Registry().GetTaskTplMd5(HString(id), HString(TplId(tpl))).get_str(), model_.UsedMd5(id, tpl));
    }

    // Template caches.

    void MakeCache() {
        int const tpl = Draw(kTemplates);
        std::string const md5 = Md5(tpl);
        if (md5.empty()) return;
        bool const added = model_.caches.emplace(tpl, md5).second;
        if (!real_) return;
        auto const& node = *KwDefineMgr::pins()->get_tpl_by_id(HString(TplId(tpl)));
        DLPCacheTpl* const cache = Caches().GetCache(node, HString(md5));
        ASSERT_NE(cache, nullptr);
        EXPECT_TRUE(!added || cache->Add(HString("key"), TwoItems(), MakeText("text"), "name") == 1);
        EXPECT_EQ(FindIn(*cache, HString("key")).code, 2);
    }
    void Prune() {
        model_.Prune();
        if (real_) Caches().UpdataCache();
    }
    void Remove() {
        std::string const id = DrawId();
        auto const entry = model_.tasks.find(id);
        if (entry == model_.tasks.end()) return;
        model_.Remove(id);
        removed_.insert(id);
        if (!real_) return;
        EXPECT_TRUE(Registry().WaitWritten(HString(id), kPatience));
        ScanTask const* const object = Registry().GetTask(HString(id));
        ASSERT_NE(object, nullptr);
        Registry().DelTask(*object);
        EXPECT_TRUE(Registry().IsTaskRelease(object));
        EXPECT_FALSE(Registry().IsExistTask(HString(id)));
    }

    // What must lie on the disk.

    [[nodiscard]] std::string TaskPath(std::string id) const {
        if (id.starts_with("task/")) id.replace(4, 1, "%2F");
        return root_ / "cache/task/" + id;
    }
    void ExpectFiles() const {
        std::set<std::string> directories;
        for (auto const& [id, task] : model_.tasks) {
            directories.insert(fs::path(TaskPath(id)).filename().string());
            EXPECT_EQ(Exists(TaskPath(id) + "/SnapCache"), task.snap_cache) << id;
            ScanTask recorded;
            ASSERT_EQ(recorded.from_file(HString(TaskPath(id) + "/ScanTask.arc")), 0) << id;
            EXPECT_EQ(recorded.status, task.status) << id;
            EXPECT_EQ(recorded.handle, task.recorded_handle) << id;
            EXPECT_TRUE(recorded.note.empty());
        }
        EXPECT_THAT(Files(root_ / "cache/task"), testing::ElementsAreArray(directories));
        for (int tpl = 0; tpl < kTemplates; ++tpl) {
            std::set<std::string> md5s;
            for (auto const& [of, md5] : model_.caches) {
                if (of == tpl) md5s.insert(md5);
            }
            EXPECT_THAT(Files(root_ / "cache/template/" + TplId(tpl)), testing::ElementsAreArray(md5s)) << TplId(tpl);
        }
    }

    TempRoot const& root_;
    std::mt19937 random_;
    bool real_ = false;
    long long clock_ = 0;
    std::map<int, int> edits_;  // what each defined template's rule looks for
    Model model_{[this](int tpl) { return Md5(tpl); }};
    std::set<std::string> removed_;  // in this life
};

TEST(DLPCacheTaskMgrModelTest, RegistryAndPruningDoWhatAPlainModelDoesOverSeveralLives) {
    TempRoot const root;
    SetBucketCount(root.Path(), "101");
    World world(root, TestSeed());
    for (int life = 0; life < kLives && !testing::Test::HasFailure(); ++life) {
        SCOPED_TRACE(testing::Message() << "life " << life);
        std::fflush(nullptr);
        pid_t const child = fork();
        if (child == 0) {
            world.Live(true);
            std::fflush(nullptr);
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        world.Live(false);
    }
}

}  // namespace
