// Random operations on the process's own registry and template caches against a plain model, over several lives: each
// is a process of its own over the files that the one before has left.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <set>

#include "host/policy/KwDefineMgr.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"
#include "task/DLPCacheTaskMgr.h"
#include "template/DLPCacheTplMgr.h"
#include "tests/storage/Seed.h"
#include "tests/template/TplFixture.h"

namespace {

namespace fs = std::filesystem;

constexpr int kLives = 6;
constexpr int kOperations = 150;  // of one life
constexpr int kTemplates = 3;
constexpr int kPatience = 60000;  // milliseconds until a queue must be written

struct ModelPolicy {
    std::string id;
    long long version = 0;
    bool keep = false;

    [[nodiscard]] QVKPolicySensitiveFileAuditNode Node(std::vector<int> const& tpls) const {
        QVKPolicySensitiveFileAuditNode node;
        node.policy->id = HString(id);
        node.policy->time_stamp = version;
        node.keep = keep;
        for (int const tpl : tpls)
            node.tpl_ids.emplace_back("T" + std::to_string(tpl));
        return node;
    }
};

struct ModelTask {
    long long start_time = 0;
    int status = kTaskRunning;
    bool has_end_time = false;
    long long handle = 0;
    long long recorded_handle = 0;
    unsigned char kind = 0;
    bool realtime = false;
    ModelPolicy policy;
    std::vector<int> tpls;
    std::optional<std::map<int, std::string>> snapshot;  // MD5 by template
    int findings = 0;
    bool snap_cache = false;

    [[nodiscard]] bool IsOver() const { return status == kTaskFinished || status == kTaskEnded; }
};

// The model, and the operations on it. In a child process they are done on the library as well, and compared; the
// parent then draws the same random numbers and keeps the model alone.
class World {
  public:
    World(TempRoot const& root, unsigned seed) : root_(root), random_(seed) {}

    void Live(bool real) {
        real_ = real;
        removed_.clear();
        policies_ = stored_policies_;
        for (auto& [id, task] : tasks_)
            task.handle = task.recorded_handle;
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

    ModelPolicy DrawPolicy() {
        return {"P" + std::to_string(Draw(3)), 60 * (1 + Draw(3)), Draw(3) == 0};  // a version is a minute of 1970
    }
    void ReplacePolicies() {
        policies_.clear();
        for (int left = Draw(4); left > 0; --left)
            policies_.push_back(DrawPolicy());
        bool const stored = Draw(2) == 0;
        if (stored) stored_policies_ = policies_;
        if (!real_) return;
        QVKPolicySensitiveFileAuditVT table;
        for (ModelPolicy const& policy : policies_)
            table.nodes.push_back(policy.Node({}));
        if (stored) {
            EXPECT_EQ(QVKPolicySensitiveFileAuditVTMgr::pins()->set(table), 0);
        } else {
            EXPECT_TRUE(QVKPolicySensitiveFileAuditVTMgr::pins()->set_no_write_to_arc(table));
        }
    }
    [[nodiscard]] bool StaysOpen(ModelTask const& task) const {
        for (ModelPolicy const& policy : policies_) {
            if (policy.id == task.policy.id) return policy.keep || policy.version == task.policy.version;
        }
        return !policies_.empty() && policies_.back().keep;
    }
    void Close(ModelTask& task, int status) {
        task.status = status;
        task.has_end_time = true;
        task.snap_cache = false;
        task.recorded_handle = task.handle;
    }
    void CloseOutdated() {
        for (auto& [id, task] : tasks_) {
            if (!task.realtime && !task.IsOver() && !StaysOpen(task)) Close(task, kTaskFinished);
        }
    }

    // Tasks.

    std::string DrawId() {
        if (Draw(4) == 0 || tasks_.empty()) return "unknown";
        return std::next(tasks_.begin(), Draw(static_cast<int>(tasks_.size())))->first;
    }
    static ScanTask* MakeObject(std::string const& id, ModelTask const& task) {
        auto* const object = new ScanTask;  // the registry wants it for the life of the process
        object->id = HString(id);
        object->start_time = task.start_time;
        object->status = task.status;
        object->handle = task.handle;
        object->note = "never written";
        *object->policy->kind = task.kind;
        *object->policy->audit_node = task.policy.Node(task.tpls);
        return object;
    }
    void AddTask() {
        ModelTask task;
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
        if (tasks_.contains(id) || removed_.contains(id)) return;
        tasks_[id] = task;
        if (real_) Registry().AddTask(MakeObject(id, task));
    }
    // With other values, which the record must replace.
    void AddKnownTask() {
        std::string const id = DrawId();
        auto const entry = tasks_.find(id);
        if (entry == tasks_.end()) return;
        entry->second.handle = Draw(1000);
        if (!real_) return;
        ModelTask other;
        other.handle = entry->second.handle;
        other.start_time = -1;
        Registry().AddTask(MakeObject(id, other));
        ExpectTask(id);
    }
    void UpdateStatus() {
        std::string const id = DrawId();
        int const status = Draw(7) - 1;
        if (real_) Registry().UpdateTaskStatus(HString(id), status);
        auto const entry = tasks_.find(id);
        if (entry == tasks_.end() || status < 1 || status > 4) return;
        if (status >= kTaskFinished) return Close(entry->second, status);
        entry->second.status = status;
        entry->second.recorded_handle = entry->second.handle;
    }
    void GetTask() {
        std::string const id = DrawId();
        if (real_) ExpectTask(id);
    }
    void ExpectTask(std::string const& id) const {
        ScanTask const* const found = Registry().GetTask(HString(id));
        auto const entry = tasks_.find(id);
        ASSERT_EQ(found != nullptr, entry != tasks_.end()) << id;
        if (!found) return;
        ModelTask const& task = entry->second;
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

    template <class Wanted>
    std::vector<std::string> Ids(Wanted const& wanted, bool newest_first) const {
        std::vector<std::pair<long long, std::string>> found;
        for (auto const& [id, task] : tasks_) {
            if (wanted(task)) found.emplace_back(newest_first ? -task.start_time : task.start_time, id);
        }
        std::sort(found.begin(), found.end());
        std::vector<std::string> ids;
        for (auto const& [time, id] : found)
            ids.push_back(id);
        return ids;
    }
    using Tasks = std::vector<ScanTask const*>;
    static std::vector<std::string> Ids(Tasks const& tasks) {
        std::vector<std::string> ids;
        for (ScanTask const* task : tasks)
            ids.push_back(task->id.get_str());
        return ids;
    }
    void History() {
        CloseOutdated();
        if (!real_) return;
        Tasks tasks;
        Registry().GetTaskHistory(tasks);
        EXPECT_EQ(Ids(tasks), Ids([](ModelTask const&) { return true; }, true));
        EXPECT_EQ(Registry().GetTaskLast(), tasks.empty() ? nullptr : tasks.front());
        for (ScanTask const* task : tasks)
            EXPECT_EQ(task->status, tasks_.at(task->id.get_str()).status) << task->id.get_str();
    }
    void QueryByPolicy() {
        std::string const policy = "P" + std::to_string(Draw(4));
        if (!real_) return;
        Tasks all;
        Registry().GetTaskByPolicyID(HString(policy), all);
        EXPECT_EQ(Ids(all), Ids([&](ModelTask const& task) { return task.policy.id == policy; }, false));
        EXPECT_EQ(Registry().GetTaskLastByPolicyID(HString(policy)), all.empty() ? nullptr : all.back());
        Tasks scans;
        Registry().GetPolicyTaskByPolicyID(HString(policy), scans);
        auto const is_scan = [&](ModelTask const& task) {
            return task.policy.id == policy && task.kind == 0 && !task.realtime;
        };
        EXPECT_EQ(Ids(scans), Ids(is_scan, false));
        Tasks realtime;
        Registry().GetTaskRealtime(realtime);
        EXPECT_EQ(Ids(realtime), Ids([](ModelTask const& task) { return task.realtime; }, true));
        for (ScanTask const* task : all) {
            auto const is_like = [&](ModelTask const& other) {
                return other.policy.id == policy && other.kind == task->kind() &&
                       other.policy.version == task->audit_node().header().time_stamp;
            };
            EXPECT_EQ(Registry().GetTaskCountByTask(*task), Ids(is_like, false).size());
        }
    }

    // Findings.

    void Record() {
        std::string const id = DrawId();
        auto const entry = tasks_.find(id);
        if (entry == tasks_.end()) {
            EXPECT_TRUE(!real_ || Registry().GetCache(HString(id)) == nullptr);
            return;
        }
        ModelTask& task = entry->second;
        bool const leaves_snap_cache = Draw(2) == 0;
        if (!task.snapshot) {
            task.snapshot.emplace();
            for (int const tpl : task.tpls) {
                if (edits_.contains(tpl)) (*task.snapshot)[tpl] = Md5(tpl);
            }
        }
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
        std::string expected;
        auto const entry = tasks_.find(id);
        if (entry != tasks_.end() && entry->second.snapshot && entry->second.snapshot->contains(tpl))
            expected = entry->second.snapshot->at(tpl);
        EXPECT_EQ(Registry().GetTaskTplMd5(HString(id), HString(TplId(tpl))).get_str(), expected);
    }

    // Template caches.

    void MakeCache() {
        int const tpl = Draw(kTemplates);
        std::string const md5 = Md5(tpl);
        if (md5.empty()) return;
        bool const added = caches_.emplace(tpl, md5).second;
        if (!real_) return;
        auto const& node = *KwDefineMgr::pins()->get_tpl_by_id(HString(TplId(tpl)));
        DLPCacheTpl* const cache = Caches().GetCache(node, HString(md5));
        ASSERT_NE(cache, nullptr);
        EXPECT_TRUE(!added || cache->Add(HString("key"), TwoItems(), MakeText("text"), "name") == 1);
        EXPECT_EQ(FindIn(*cache, HString("key")).code, 2);
    }
    [[nodiscard]] bool IsUsed(int tpl, std::string const& md5, std::string const& without_task = "") const {
        return std::any_of(tasks_.begin(), tasks_.end(), [&](auto const& entry) {
            auto const& snapshot = entry.second.snapshot;
            return entry.first != without_task && snapshot && snapshot->contains(tpl) && snapshot->at(tpl) == md5;
        });
    }
    void Prune() {
        bool history_asked = false;
        for (auto next = caches_.begin(); next != caches_.end();) {
            auto const entry = next++;
            auto const& [tpl, md5] = *entry;
            if (Md5(tpl) == md5) continue;
            history_asked = true;
            if (!IsUsed(tpl, md5)) caches_.erase(entry);
        }
        if (history_asked) CloseOutdated();
        if (real_) Caches().UpdataCache();
    }
    void Remove() {
        std::string const id = DrawId();
        auto const entry = tasks_.find(id);
        if (entry == tasks_.end()) return;
        ModelTask const task = entry->second;
        bool history_asked = false;
        for (int const tpl : task.tpls) {
            if (!task.snapshot || !task.snapshot->contains(tpl) || !edits_.contains(tpl)) continue;
            std::string const md5 = task.snapshot->at(tpl);
            if (Md5(tpl) == md5) continue;
            history_asked = true;
            if (!IsUsed(tpl, md5, id)) caches_.erase({tpl, md5});
        }
        if (history_asked) CloseOutdated();
        tasks_.erase(id);
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
    static std::set<std::string> List(std::string const& directory) {
        std::set<std::string> names;
        if (!fs::exists(directory)) return names;
        for (auto const& entry : fs::directory_iterator(directory))
            names.insert(entry.path().filename().string());
        return names;
    }
    void ExpectFiles() const {
        std::set<std::string> directories;
        for (auto const& [id, task] : tasks_) {
            directories.insert(fs::path(TaskPath(id)).filename().string());
            EXPECT_EQ(Exists(TaskPath(id) + "/SnapCache"), task.snap_cache) << id;
            ScanTask recorded;
            ASSERT_EQ(recorded.from_file(HString(TaskPath(id) + "/ScanTask.arc")), 0) << id;
            EXPECT_EQ(recorded.status, task.status) << id;
            EXPECT_EQ(recorded.handle, task.recorded_handle) << id;
            EXPECT_TRUE(recorded.note.empty());
        }
        EXPECT_EQ(List(root_ / "cache/task"), directories);
        for (int tpl = 0; tpl < kTemplates; ++tpl) {
            std::set<std::string> md5s;
            for (auto const& [of, md5] : caches_) {
                if (of == tpl) md5s.insert(md5);
            }
            EXPECT_EQ(List(root_ / "cache/template/" + TplId(tpl)), md5s) << TplId(tpl);
        }
    }

    TempRoot const& root_;
    std::mt19937 random_;
    bool real_ = false;
    long long clock_ = 0;
    std::map<int, int> edits_;  // what each defined template's rule looks for
    std::vector<ModelPolicy> policies_;
    std::vector<ModelPolicy> stored_policies_;
    std::map<std::string, ModelTask> tasks_;
    std::set<std::string> removed_;  // in this life
    std::set<std::pair<int, std::string>> caches_;
};

TEST(DLPCacheTaskMgrModelTest, RegistryAndPruningDoWhatAPlainModelDoesOverSeveralLives) {
    TempRoot const root;
    fs::create_directories(root / "ini");
    WriteBytes(root / "ini/DLPService.ini", "[DLPCache]\niIndexBucketSize=101\n");
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
