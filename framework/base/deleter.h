#pragma once

#include <cstdlib>
#include <memory>
#include <type_traits>

namespace mrb {

// For std::unique_ptr: ends what a C library made with that library's own function, which
// takes the object or, where it also clears it, the pointer's address.
template <auto end>
struct Deleter {
    template <typename Object>
    void operator()(Object *object) const {
        if constexpr (std::is_invocable_v<decltype(end), Object *>) {
            end(object);
        } else {
            end(&object);
        }
    }
};

// Memory of malloc.
template <typename Value>
using MallocPtr = std::unique_ptr<Value, Deleter<std::free>>;

} // namespace mrb
