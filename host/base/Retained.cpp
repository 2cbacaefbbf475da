#include "host/base/Retained.h"

#include <atomic>
#include <new>

namespace Varnok {
namespace {

struct Node {
    void const* object;
    Node* next;
};

// A list that only grows, so that a plain compare-and-swap is all it needs. Reachable until the very end of the
// process.
constinit std::atomic<Node*> retained{nullptr};

}  // namespace

void Retain(void const* object) noexcept {
    if (object == nullptr) return;
    auto* const node = new (std::nothrow) Node{object, retained.load(std::memory_order_relaxed)};
    if (node == nullptr) return;
    while (!retained.compare_exchange_weak(node->next, node, std::memory_order_release, std::memory_order_relaxed)) {
    }
}

}  // namespace Varnok
