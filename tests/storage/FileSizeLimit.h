#pragma once

#include <sys/resource.h>

#include <csignal>

// As long as it lives no file grows beyond `size` bytes: a write that would is cut short there, the next one fails.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(long long size) {
        (void)std::signal(SIGXFSZ, SIG_IGN);
        (void)::getrlimit(RLIMIT_FSIZE, &before_);
        rlimit const limit{static_cast<rlim_t>(size), before_.rlim_max};
        (void)::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { (void)::setrlimit(RLIMIT_FSIZE, &before_); }
    FileSizeLimit(FileSizeLimit const&) = delete;
    FileSizeLimit& operator=(FileSizeLimit const&) = delete;

  private:
    rlimit before_{};
};
