#pragma once
// The values that pass between the framework's C interfaces and a test: the value of an
// argument, and the reply that a test sets for a function.

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>

namespace recording {

/// A value as a test sees it; a null text or pointer is nullptr.
using Value = std::variant<std::nullptr_t, bool, int64_t, double, std::string>;

/// What a function does with its out-argument: nothing, write a new handle, or write
/// a value.
struct Untouched {};
struct NewHandle {};
using Out = std::variant<Untouched, NewHandle, Value>;

/// The reply to one call. One that throws returns and writes nothing.
struct Reply {
    Value result = int64_t{0};
    Out out = Untouched{};
    bool throws = false; ///< a std::runtime_error, as a C++ framework may
};

} // namespace recording
