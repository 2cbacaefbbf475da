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

constexpr char kUnreadable[] = "unreadable";  // the status of a task without a record that names it

// What is remembered: the tasks, newest first, and those of which only the directory is known.
struct History {
    std::vector<ScanTask const*> tasks;
    std::vector<HString> unreadable;
};

History ReadHistory() {
    History history;
    TaskRegistry().GetTaskHistory(history.tasks);
    std::erase_if(history.tasks, [](ScanTask const* task) { return task->id.empty(); });
    history.unreadable = UnreadableTasks();
    return history;
}

// No scan runs while another command holds the lock: what is still running was cut short.
char const* StatusName(ScanTask const& task) {
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

std::vector<std::vector<std::string>> Rows(History const& history) {
    std::vector<std::vector<std::string>> rows{{"TASK", "STATUS", "STARTED (UTC)", "ENDED (UTC)", "POLICY", "SCANNED"}};
    for (ScanTask const* const task : history.tasks) {
        rows.push_back({Printable(task->id.get_str()), StatusName(*task), TimeText(task->start_time),
                        IsOver(*task) ? TimeText(task->end_time) : "-",
                        Printable(task->audit_node().header().id.get_str()), Printable(task->name.get_str())});
    }
    for (HString const& id : history.unreadable)
        rows.push_back(
            {Printable(id.get_str()), kUnreadable, "-", "-", "-", "record in " + Printable(DirectoryOf(id))});
    return rows;
}

void PrintAsText(History const& history, std::ostream& out) {
    auto const rows = Rows(history);
    if (rows.size() == 1) {
        out << "No scan is remembered.\n";
        return;
    }
    std::vector<std::size_t> widths(rows[0].size());
    for (auto const& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], WidthOf(row[i]));
    }
    for (auto const& row : rows) {
        for (std::size_t i = 0; i + 1 < row.size(); ++i)
            out << row[i] << std::string(widths[i] - WidthOf(row[i]) + 2, ' ');
        out << row.back() << '\n';
    }
}

void PrintAsJson(History const& history, std::ostream& out) {
    ordered_json tasks = ordered_json::array();
    for (ScanTask const* const task : history.tasks) {
        tasks.push_back({{"task", task->id.get_str()},
                         {"name", task->name.get_str()},
                         {"status", StatusName(*task)},
                         {"started", task->start_time},
                         {"ended", IsOver(*task) ? ordered_json(task->end_time) : ordered_json()},
                         {"policy", task->audit_node().header().id.get_str()}});
    }
    for (HString const& id : history.unreadable) {
        tasks.push_back({{"task", id.get_str()},
                         {"name", ""},
                         {"status", kUnreadable},
                         {"started", nullptr},
                         {"ended", nullptr},
                         {"policy", ""},
                         {"directory", DirectoryOf(id)}});
    }
    WriteJson({{"tasks", tasks}}, out);
}

}  // namespace

int RunTasks(Options const& options) {
    Root const root(options, Root::Use::kOfEarlierScans);
    History const history = ReadHistory();
    if (options.format == Format::kJson)
        PrintAsJson(history, std::cout);
    else
        PrintAsText(history, std::cout);
    if (!std::cout.flush()) throw std::runtime_error("the list cannot be written");
    return kNothingFound;
}

}  // namespace scanner
