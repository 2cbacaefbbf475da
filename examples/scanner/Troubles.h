#pragma once

#include <cstddef>
#include <ostream>
#include <string>

namespace scanner {

// Tells of troubles on a stream, the first ones each on a line of its own, the others by their number. One thread.
class Troubles {
  public:
    static constexpr std::size_t kMostLines = 20;

    explicit Troubles(std::ostream& out) : out_(out) {}

    // `text`: printable.
    void Add(std::string const& text) {
        if (++count_ <= kMostLines) out_ << "scanner: " << text << '\n';
    }
    void End() {
        if (count_ > kMostLines) out_ << "scanner: " << count_ - kMostLines << " more\n";
    }
    [[nodiscard]] std::size_t count() const { return count_; }

  private:
    std::ostream& out_;
    std::size_t count_ = 0;
};

}  // namespace scanner
