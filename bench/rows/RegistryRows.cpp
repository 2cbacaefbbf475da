#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "bench/Definitions.h"
#include "bench/Duel.h"
#include "bench/InChild.h"
#include "bench/Require.h"
#include "bench/TaskRoot.h"
#include "bench/rows/Rows.h"
#include "host/base/Global.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "template/DLPCacheTplMgr.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kTasks = 1000;
constexpr std::size_t kManyTasks = 10000;
constexpr std::size_t kPolicies = 100;
constexpr std::size_t kOutdated = 20;
constexpr double kPruneFigure = 1e9;
constexpr double kHistoryFigure = 20e6;

void UseRoot(TempDir const& directory) {
    KwLocateMgr::pins()->set_root(HString(directory.path()));
    Varnok::Global::pins()->logging = 0;
}

// Every record file of the tasks below `root`.
std::vector<std::string> RecordFiles(std::string const& root) {
    std::vector<std::string> files;
    for (auto const& entry : fs::directory_iterator(root + "/cache/task"))
        files.push_back(entry.path().string() + "/ScanTask.arc");
    return files;
}

void ReadRaw(std::vector<std::string> const& files) {
    char bytes[4096];
    for (std::string const& file : files) {
        int const fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
        Require(fd >= 0 && ::read(fd, bytes, sizeof bytes) > 0 && ::close(fd) == 0, "a record could not be read");
    }
}

// The process's instance, made in a new process each time.
Round Start() {
    auto const directory = std::make_shared<TempDir>();
    (void)InChild([directory] {
        UseRoot(*directory);
        for (std::size_t task = 0; task < kTasks; ++task)
            DLPCacheTaskMgr::pins()->AddTask(MakeTask(task, 1, {TplId(0), TplId(1)}));
        return Sample();
    });
    return [directory] {
        return InChild([directory] {
            UseRoot(*directory);
            std::vector<std::string> const files = RecordFiles(directory->path());
            Require(files.size() == kTasks, "tasks are missing");
            ReadRaw(files);
            double const start = Now();
            Require(DLPCacheTaskMgr::pins()->IsExistTask(TaskId(kTasks - 1)), "a task was not found at start");
            double const ours = Now() - start;
            double const raw_start = Now();
            ReadRaw(files);
            return Sample{ours, Now() - raw_start};
        });
    };
}

// The definitions of which every task and cache has the first edition.
KwDefinitions Edition(char const* rule_text) {
    KwDefinitions definitions = MakeDefinitions(kOutdated, 3);
    for (auto& rule : definitions.rules.nodes)
        rule.rule_text = rule_text;
    return definitions;
}

// Tasks that each have a snapshot of every template, and every template's cache.
void PrepareOutdated(TempDir const& directory) {
    UseRoot(directory);
    fs::create_directories(directory.File("ini"));
    std::ofstream(directory.File("ini") + "/DLPService.ini") << "[DLPCache]\niIndexBucketSize=1000\n";
    Require(KwDefineMgr::pins()->install(Edition("first")), "the definitions could not be installed");
    std::vector<HString> tpl_ids;
    for (std::size_t tpl = 0; tpl < kOutdated; ++tpl) {
        tpl_ids.push_back(TplId(tpl));
        auto const* const node = KwDefineMgr::pins()->get_tpl_by_id(tpl_ids.back());
        Require(DLPCacheTplMgr::pins()->GetCache(*node, KwDefineMgr::pins()->get_md5_by_tpl(*node)) != nullptr,
                "a template has no cache");
    }
    for (std::size_t task = 0; task < kTasks; ++task) {
        DLPCacheTaskMgr::pins()->AddTask(MakeTask(task, 1, tpl_ids));
        Require(DLPCacheTaskMgr::pins()->GetCache(TaskId(task)) != nullptr, "a task has no writer");
    }
}

std::size_t Count(std::string const& directory) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
}

std::size_t CachesOf(std::string const& root) {
    std::size_t caches = 0;
    for (auto const& tpl : fs::directory_iterator(root + "/cache/template"))
        caches += Count(tpl.path().string());
    return caches;
}

// Every cache is outdated and still used by every task, so that none goes and each round finds the same.
Round Prune() {
    auto const directory = std::make_shared<TempDir>();
    (void)InChild([directory] { return PrepareOutdated(*directory), Sample(); });
    return [directory] {
        return InChild([directory] {
            UseRoot(*directory);
            Require(KwDefineMgr::pins()->install(Edition("second")), "the definitions could not be installed");
            Require(DLPCacheTplMgr::pins() != nullptr && DLPCacheTaskMgr::pins() != nullptr, "no managers");
            Varnok::Global::pins()->logging = 0;
            std::size_t const threads = Count("/proc/self/task");
            double const start = Now();
            DLPCacheTplMgr::pins()->UpdataCache();
            double const ours = Now() - start;
            Require(Count("/proc/self/task") == threads, "pruning started a thread");
            Require(CachesOf(directory->path()) == kOutdated, "pruning took a cache that is still used");
            return Sample{ours, kPruneFigure};
        });
    };
}

Round History() {
    auto const root = std::make_shared<TaskRoot>(kManyTasks, kPolicies);
    return [root] {
        std::vector<ScanTask const*> tasks;
        double const start = Now();
        root->registry().GetTaskHistory(tasks);
        double const ours = Now() - start;
        Require(tasks.size() == kManyTasks && tasks.front()->id == TaskId(kManyTasks - 1), "the history is incomplete");
        return Sample{ours, kHistoryFigure};
    };
}

}  // namespace

void AddRegistryRows() {
    AddRow({"registry/start", "DLPCacheTaskMgr::pins() with 1,000 tasks on disk", "reading their records raw",
            Target::kAtMost, 5},
           21, Start);
    AddRow({"registry/prune", "pruning, 1,000 remembered tasks, 20 outdated caches, all used",
            "1 s, the figure aimed at", Target::kAtMost, 2},
           5, Prune);
    AddRow({"registry/history", "GetTaskHistory, 10,000 tasks, 100 policies", "20 ms, the figure aimed at",
            Target::kAtMost, 2},
           21, History);
}

}  // namespace bench
