#include "host/base/Global.h"

#include <type_traits>

namespace Varnok {
namespace {

// Neither made at run time nor ever destroyed: usable from the first to the last instruction of the process.
constinit Global instance;
static_assert(std::is_trivially_destructible_v<Global>);

}  // namespace

Global* Global::pins() noexcept {
    return &instance;
}

}  // namespace Varnok
