#pragma once

#include <cstdlib>
#include <memory>
#include <type_traits>

namespace mrb {

// For std::unique_ptr: releases an object of a C library with the library's own function, which
// takes the object or, if it also clears the pointer, the pointer's address.
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

// Memory from malloc.
template <typename Value>
using MallocPtr = std::unique_ptr<Value, Deleter<std::free>>;

} // namespace mrb
