#include "bench/Process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bench/Require.h"

namespace bench {

int RunProcess(std::vector<std::string> const& command, std::string const& output) {
    std::vector<char*> arguments;
    for (std::string const& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t child = 0;
    errno = ::posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    Require(errno == 0, "a program could not be run");
    ::posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    Require(::waitpid(child, &status, 0) == child && WIFEXITED(status), "a program did not come to its end");
    return WEXITSTATUS(status);
}

}  // namespace bench
