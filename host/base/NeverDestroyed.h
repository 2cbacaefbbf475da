#pragma once

#include <cstddef>

namespace Varnok {

// Room for an object that lives until the process ends and is never destroyed, so that whatever still runs at exit may
// use it. For function-local statics; takes no memory. `make(place)` makes the object there and returns it: written
// where the object's constructor may be called.
//
//     static NeverDestroyed<Thing> const thing([](void* place) { return new (place) Thing; });
template <class Object>
class NeverDestroyed {
  public:
    template <class Make>
    explicit NeverDestroyed(Make const& make) : object_(make(static_cast<void*>(storage_))) {}
    NeverDestroyed(NeverDestroyed const&) = delete;
    NeverDestroyed& operator=(NeverDestroyed const&) = delete;

    [[nodiscard]] Object* get() const noexcept { return object_; }
    [[nodiscard]] Object& operator*() const noexcept { return *object_; }

  private:
    // The object changes, also in a constant that tells where it is.
    alignas(Object) mutable std::byte storage_[sizeof(Object)];
    Object* object_;
};

}  // namespace Varnok
