#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

// The stated rules of the task registry and of pruning, in plain containers.
namespace task_model {

struct Policy {
    std::string id;
    long long version = 0;
    bool keep = false;
};

struct Task {
    long long start_time = 0;
    int status = 2;
    bool has_end_time = false;
    long long handle = 0;
    long long recorded_handle = 0;
    unsigned char kind = 0;
    bool realtime = false;
    Policy policy;
    std::vector<int> tpls;
    std::optional<std::map<int, std::string>> snapshot;  // MD5 by template
    int findings = 0;
    bool snap_cache = false;

    [[nodiscard]] bool IsOver() const { return status == 3 || status == 4; }
};

class Model {
  public:
    // Gives a template's MD5 under the definitions in force, empty when it is not defined.
    using Md5Of = std::function<std::string(int tpl)>;
    explicit Model(Md5Of md5_of) : md5_of_(std::move(md5_of)) {}

    // A new process: what was kept in memory alone is gone.
    void Restart();
    [[nodiscard]] Task* Find(std::string const& id);
    void UpdateStatus(std::string const& id, int status);
    // What asking for the history does.
    void CloseOutdated();
    // What opening a task's store does.
    void Open(Task& task) const;
    void Remove(std::string const& id);
    void Prune();
    [[nodiscard]] std::string UsedMd5(std::string const& id, int tpl);

    // The ids of the tasks that are `wanted`, by start time.
    using Wanted = std::function<bool(Task const&)>;
    [[nodiscard]] std::vector<std::string> Ids(Wanted const& wanted, bool newest_first) const;

    std::map<std::string, Task> tasks;
    std::vector<Policy> policies;                  // in force
    std::vector<Policy> stored_policies;           // in their record file
    std::set<std::pair<int, std::string>> caches;  // template and MD5

  private:
    [[nodiscard]] bool StaysOpen(Task const& task) const;
    static void Close(Task& task, int status);
    [[nodiscard]] bool IsUsed(int tpl, std::string const& md5, std::string const& without_task = "") const;

    Md5Of md5_of_;
};

}  // namespace task_model
