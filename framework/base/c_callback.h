#pragma once
// Functions that C libraries call.

#include <exception>
#include <type_traits>

#include "base/log.h"

namespace mrb {

// Static functions only, see cCallback.
template <auto FUNCTION, auto FAILED>
struct CCallback;

template <typename Result, typename... Arguments, Result (*FUNCTION)(Arguments...), auto FAILED>
struct CCallback<FUNCTION, FAILED> {
    static Result call(Arguments... arguments) noexcept {
        try {
            return FUNCTION(arguments...);
        } catch (const std::exception &failure) {
            MRB_LOG_ERROR("A callback failed: %s", failure.what());
        }
        if constexpr (!std::is_void_v<Result>) {
            return static_cast<Result>(FAILED);
        }
    }
};

// A function for a C library to call: FUNCTION, whose exceptions are logged, and FAILED is returned.
// They must not reach the library: frames of C code release nothing, and on 32-bit ARM cannot be
// unwound, which would end the process.
template <auto FUNCTION, auto FAILED = 0>
inline constexpr auto cCallback = &CCallback<FUNCTION, FAILED>::call;

} // namespace mrb
