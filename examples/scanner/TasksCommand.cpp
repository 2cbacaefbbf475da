#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "examples/scanner/JsonText.h"
#include "examples/scanner/Registry.h"
#include "examples/scanner/Root.h"
#include "examples/scanner/Summary.h"
#include "examples/scanner/TaskCommands.h"
#include "host/base/HTimeHelper.h"

namespace scanner {
namespace {

using nlohmann::ordered_json;

// No scan runs while another command holds the lock: what is still running was cut short.
char const* StatusName(ScanTask const& task) {
    if (task.id.empty()) return "unreadable";
    switch (task.status) {
        case kTaskCreated:
            return "created";
        case kTaskRunning:
            return "interrupted";
        case kTaskFinished:
            return "finished";
        case kTaskEnded:
            return "ended";
    }
    return "unknown";
}

bool IsOver(ScanTask const& task) {
    return task.status == kTaskFinished || task.status == kTaskEnded;
}

std::string TimeText(long long seconds) {
    return seconds == 0 ? "-" : HTimeHelper::Int2Str2(seconds).get_str();
}

void PrintAsText(std::vector<ScanTask const*> const& history, std::ostream& out) {
    if (history.empty()) {
        out << "No scan is remembered.\n";
        return;
    }
    std::vector<std::vector<std::string>> rows{{"TASK", "STATUS", "STARTED (UTC)", "ENDED (UTC)", "POLICY", "SCANNED"}};
    for (ScanTask const* const task : history) {
        rows.push_back({Printable(task->id.get_str()), StatusName(*task), TimeText(task->start_time),
                        IsOver(*task) ? TimeText(task->end_time) : "-",
                        Printable(task->audit_node().header().id.get_str()), Printable(task->name.get_str())});
    }
    std::vector<std::size_t> widths(rows[0].size());
    for (auto const& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    for (auto const& row : rows) {
        for (std::size_t i = 0; i + 1 < row.size(); ++i)
            out << row[i] << std::string(widths[i] - row[i].size() + 2, ' ');
        out << row.back() << '\n';
    }
}

void PrintAsJson(std::vector<ScanTask const*> const& history, std::ostream& out) {
    ordered_json tasks = ordered_json::array();
    for (ScanTask const* const task : history) {
        tasks.push_back({{"task", task->id.get_str()},
                         {"name", task->name.get_str()},
                         {"status", StatusName(*task)},
                         {"started", task->start_time},
                         {"ended", IsOver(*task) ? ordered_json(task->end_time) : ordered_json()},
                         {"policy", task->audit_node().header().id.get_str()}});
    }
    WriteJson({{"tasks", tasks}}, out);
}

}  // namespace

int RunTasks(Options const& options) {
    Root const root(options, Root::Use::kOfEarlierScans);
    std::vector<ScanTask const*> history;
    TaskRegistry().GetTaskHistory(history);
    if (options.format == Format::kJson)
        PrintAsJson(history, std::cout);
    else
        PrintAsText(history, std::cout);
    if (!std::cout.flush()) throw std::runtime_error("the list cannot be written");
    return kNothingFound;
}

}  // namespace scanner
