#pragma once

#include <cstddef>

namespace scanner {

// A progress bar on standard error, drawn only when that is a terminal. One thread draws; the destructor clears the
// line.
class Progress {
  public:
    explicit Progress(std::size_t total);
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    [[nodiscard]] bool is_on() const { return on_; }
    void Draw(std::size_t done) const;

  private:
    std::size_t total_;
    bool on_;
};

}  // namespace scanner
