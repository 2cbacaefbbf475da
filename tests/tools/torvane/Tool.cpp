#include "tests/tools/torvane/Tool.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace {

// Lets go of a descriptor at the end.
struct Closing {
    int fd;
    ~Closing() { (void)::close(fd); }
};

std::vector<char*> Pointers(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (auto& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
}

pid_t SpawnProgram(std::vector<std::string> words, std::vector<std::string> environment, int in, int out, int err) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in, 0);
    if (out >= 0) posix_spawn_file_actions_adddup2(&actions, out, 1);
    if (out < 0) posix_spawn_file_actions_addclose(&actions, 1);
    posix_spawn_file_actions_adddup2(&actions, err, 2);
    pid_t child = -1;
    EXPECT_EQ(::posix_spawn(&child, words[0].c_str(), &actions, nullptr, Pointers(words).data(),
                            Pointers(environment).data()),
              0);
    posix_spawn_file_actions_destroy(&actions);
    return child;
}

int OpenNew(std::string const& path) {
    int const fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    EXPECT_GE(fd, 0) << path;
    return fd;
}

}  // namespace

Tool::Tool(TempRoot const& root) : root_(root) {
    char const* const path = std::getenv("PATH");
    environment = {{"PATH", path == nullptr ? "" : path}, {"HOME", root / "home"}};
}

std::vector<std::string> Tool::Variables() const {
    std::vector<std::string> variables;
    for (auto const& [name, value] : environment)
        variables.push_back(name + "=" + value);
    return variables;
}

pid_t Tool::Spawn(std::vector<std::string> const& words, int out, int err) const {
    std::vector<std::string> all{TORVANE_PROGRAM};
    all.insert(all.end(), words.begin(), words.end());
    Closing const nothing{::open("/dev/null", O_RDONLY | O_CLOEXEC)};
    return SpawnProgram(std::move(all), Variables(), nothing.fd, out, err);
}

ToolResult Tool::Run(std::vector<std::string> const& words) const {
    std::string const path = root_ / "stdout";
    ToolResult result = RunInto(path, words);
    result.out = ReadBytes(path);
    return result;
}

ToolResult Tool::RunInto(std::string const& path, std::vector<std::string> const& words) const {
    Closing const out{path.empty() ? -1 : ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)};
    Closing const err{OpenNew(root_ / "stderr")};
    ToolResult result;
    result.status = Wait(Spawn(words, out.fd, err.fd));
    result.err = ReadBytes(root_ / "stderr");
    return result;
}

ToolResult Tool::RunIntoClosedPipe(std::vector<std::string> const& words) const {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    (void)::close(ends[0]);
    Closing const out{ends[1]};
    Closing const err{OpenNew(root_ / "stderr")};
    ToolResult result;
    result.status = Wait(Spawn(words, out.fd, err.fd));
    result.err = ReadBytes(root_ / "stderr");
    return result;
}

std::optional<ToolResult> Tool::RunUnprivileged(std::vector<std::string> const& words) const {
    constexpr unsigned kNobody = 65534;
    constexpr int kImpossible = 99;
    Closing const out{OpenNew(root_ / "stdout")};
    Closing const err{OpenNew(root_ / "stderr")};
    std::vector<std::string> all{TORVANE_PROGRAM};
    all.insert(all.end(), words.begin(), words.end());
    std::vector<std::string> variables = Variables();
    pid_t const child = ::fork();
    if (child == 0) {
        bool const is_root = ::geteuid() == 0;
        bool const becomes =
            !is_root || (::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0);
        if (!becomes || ::chdir("/") != 0 || ::dup2(out.fd, 1) < 0 || ::dup2(err.fd, 2) < 0) ::_exit(kImpossible);
        ::execve(all[0].c_str(), Pointers(all).data(), Pointers(variables).data());
        ::_exit(kImpossible);
    }
    ToolResult result;
    result.status = Wait(child);
    if (result.status == kImpossible) return std::nullopt;
    result.out = ReadBytes(root_ / "stdout");
    result.err = ReadBytes(root_ / "stderr");
    return result;
}

ToolResult Tool::RunOnTerminal(std::vector<std::string> const& words) const {
    int leader = -1;
    int follower = -1;
    EXPECT_EQ(::openpty(&leader, &follower, nullptr, nullptr, nullptr), 0);
    (void)::fcntl(leader, F_SETFD, FD_CLOEXEC);
    Closing const closing{leader};
    pid_t const child = Spawn(words, follower, follower);
    (void)::close(follower);
    ToolResult result;
    result.out = ReadAll(leader);
    result.status = Wait(child);
    return result;
}

pid_t Tool::Start(std::vector<std::string> const& words, int& out) const {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    Closing const writing{ends[1]};
    Closing const err{OpenNew(root_ / "stderr")};
    out = ends[0];
    return Spawn(words, writing.fd, err.fd);
}

int Tool::Wait(pid_t child) {
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string ReadAll(int fd) {
    std::string text;
    std::array<char, 4096> block{};
    for (;;) {
        ssize_t const count = ::read(fd, block.data(), block.size());
        if (count <= 0) return text;  // a terminal that everybody has left gives an error
        text.append(block.data(), static_cast<std::size_t>(count));
    }
}

bool FollowsSchema(std::string const& output, char const* form) {
    std::string const command = std::string("'") + TORVANE_VALIDATE + "' '" + TORVANE_SCHEMAS + "' " + form;
    std::FILE* const validate = ::popen(command.c_str(), "we");
    if (validate == nullptr) return false;
    bool const written = std::fwrite(output.data(), 1, output.size(), validate) == output.size();
    return ::pclose(validate) == 0 && written;
}
