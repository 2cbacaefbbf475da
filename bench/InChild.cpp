#include "bench/InChild.h"

#include <sys/wait.h>
#include <unistd.h>

#include "bench/Require.h"

namespace bench {

Sample InChild(std::function<Sample()> const& work) {
    int ends[2] = {-1, -1};
    Require(::pipe(ends) == 0, "a pipe could not be made");
    pid_t const child = ::fork();
    Require(child >= 0, "a process could not be forked");
    Sample sample;
    if (child == 0) {
        sample = work();
        Require(::write(ends[1], &sample, sizeof sample) == sizeof sample, "a child could not report");
        ::_exit(0);
    }
    ::close(ends[1]);
    bool const reported = ::read(ends[0], &sample, sizeof sample) == sizeof sample;
    ::close(ends[0]);
    int status = 0;
    Require(::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0 && reported,
            "a child process failed");
    return sample;
}

}  // namespace bench
