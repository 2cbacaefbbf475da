#pragma once

namespace Varnok {

// Keeps an object that its owner lets go of while callers may still hold it: the object stays allocated and reachable
// until the process ends and is never destroyed. Null is ignored. Any thread may call; never fails (without memory to
// note the object it still stays allocated).
void Retain(void const* object) noexcept;

}  // namespace Varnok
