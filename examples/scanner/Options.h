#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace scanner {

// Exit statuses, as users of scanners know them.
enum ExitStatus : int { kNothingFound = 0, kSensitiveFound = 1, kFailed = 2 };

enum class Command { kScan, kTemplates, kTasks, kFindings, kRemove, kPrune };
enum class Format { kText, kJson };

// What the command line says. A value.
struct Options {
    Command command = Command::kScan;
    std::vector<std::string> paths;
    std::string templates_file;      // empty: the built-in templates
    std::string root;                // empty: where the library's own rule puts it
    std::string task;                // scan: empty: a new one; findings, remove: the one meant
    std::string policy = "default";  // that the scan's task runs under
    unsigned jobs = 0;               // 0: one per processor
    Format format = Format::kText;
    bool use_cache = true;
    bool record = true;  // the scan is a task, its sensitive files are recorded
    bool verbose = false;
    bool log = false;
    std::uint64_t most_file_bytes = 0;  // larger files are skipped

    [[nodiscard]] bool HasTask() const { return use_cache && record; }
};

// Reads the command line. Without a value the program ends with `exit_status`: help was printed on standard output, or
// a message about a mistake on standard error.
[[nodiscard]] std::optional<Options> ParseOptions(int argc, char const* const* argv, int& exit_status);

}  // namespace scanner
