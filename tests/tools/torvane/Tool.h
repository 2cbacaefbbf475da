#pragma once

#include <sys/types.h>

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/TempRoot.h"

// How a run of the program ended.
struct ToolResult {
    int status = -1;  // 128 + the signal's number when one ended it
    std::string out;
    std::string err;
    [[nodiscard]] nlohmann::ordered_json Json() const { return nlohmann::ordered_json::parse(out); }
};

// The built program as a user runs it: words as they are, an environment of its own that holds PATH, HOME (below the
// test's directory) and what is put into it, no terminal unless one is asked for.
class Tool {
  public:
    explicit Tool(TempRoot const& root);

    std::map<std::string, std::string> environment;

    [[nodiscard]] ToolResult Run(std::vector<std::string> const& words) const;
    // The same with a terminal for stdout and stderr; what it shows is in `out`.
    [[nodiscard]] ToolResult RunOnTerminal(std::vector<std::string> const& words) const;
    // The same with stdout opened for writing at `path`; an empty path: stdout is closed.
    [[nodiscard]] ToolResult RunInto(std::string const& path, std::vector<std::string> const& words) const;
    // The same with stdout a pipe that nobody reads.
    [[nodiscard]] ToolResult RunIntoClosedPipe(std::vector<std::string> const& words) const;

    // The same as a user who owns nothing; nothing when nobody can become that user or start the program as such.
    [[nodiscard]] std::optional<ToolResult> RunUnprivileged(std::vector<std::string> const& words) const;

    // Starts it with its stdout a pipe, whose reading end goes to `out`. The caller closes that and calls Wait.
    [[nodiscard]] pid_t Start(std::vector<std::string> const& words, int& out) const;
    [[nodiscard]] static int Wait(pid_t child);

  private:
    [[nodiscard]] std::vector<std::string> Variables() const;
    [[nodiscard]] pid_t Spawn(std::vector<std::string> const& words, int out, int err) const;

    TempRoot const& root_;
};

// Everything that can be read from `fd`, and its end.
[[nodiscard]] std::string ReadAll(int fd);

// Whether the output of a run with --format json or jsonl (`form`) is what the shipped schemas say; why not goes to
// stderr.
[[nodiscard]] bool FollowsSchema(std::string const& output, char const* form);
