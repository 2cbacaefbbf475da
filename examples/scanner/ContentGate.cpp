#include "examples/scanner/ContentGate.h"

#include <algorithm>

namespace scanner {

ContentGate::Pass::Pass(ContentGate& gate, std::string const& md5) : gate_(gate), md5_(md5) {
    auto const same = [this](std::string const* other) { return *other == md5_; };
    std::unique_lock lock(gate_.mutex_);
    gate_.left_.wait(lock, [&] { return std::none_of(gate_.in_flight_.begin(), gate_.in_flight_.end(), same); });
    gate_.in_flight_.push_back(&md5_);
}

ContentGate::Pass::~Pass() {
    std::lock_guard const lock(gate_.mutex_);
    std::erase(gate_.in_flight_, &md5_);
    gate_.left_.notify_all();
}

}  // namespace scanner
