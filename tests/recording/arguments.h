#pragma once
// How arguments of the framework's functions become values of the trace, and how
// replies become results and out-arguments.

#include <cstdint>
#include <type_traits>

#include "mrb/agent.h"
#include "mrb/storage.h"

#include "value.h"

namespace recording {

class Function;

/// A pointer that is user data of a callback.
struct UserData {
    void *pointer;
};

/// A pointer to bytes that are not a text.
struct Bytes {
    const void *pointer;
};

// ---- arguments to values ----------------------------------------------------

Value toValue(const char *text);
Value toValue(UserData user_data);
Value toValue(Bytes bytes);
Value toValue(_mrb_storage_s *device);
Value callbackValue(const void *callback);

inline Value toValue(bool flag) { return flag; }
inline Value toValue(int number) { return int64_t{number}; }
inline Value toValue(int *preset) { return int64_t{*preset}; }
inline Value toValue(long long *preset) { return int64_t{*preset}; }
inline Value toValue(double *preset) { return *preset; }
inline Value toValue(bool *preset) { return *preset; }
inline Value toValue(char **preset) { return toValue(static_cast<const char *>(*preset)); }

/// An opaque handle: the recording framework's handles are numbers.
template <typename Opaque>
Value toValue(Opaque *handle) {
    return static_cast<int64_t>(reinterpret_cast<intptr_t>(handle));
}

template <typename Opaque>
Value toValue(Opaque **preset) {
    return toValue(*preset);
}

template <typename Result, typename... Arguments>
Value toValue(Result (*callback)(Arguments...)) {
    return callbackValue(reinterpret_cast<const void *>(callback));
}

// ---- replies to results -----------------------------------------------------

int64_t asInteger(const Value &value);
double asReal(const Value &value);
const char *asText(const Value &value);
_mrb_storage_s *asDevice(const Value &value);

template <typename Result>
Result resultAs(const Value &value) {
    if constexpr (std::is_same_v<Result, const char *>) {
        return asText(value);
    } else if constexpr (std::is_same_v<Result, bool>) {
        return asInteger(value) != 0;
    } else if constexpr (std::is_same_v<Result, _mrb_storage_s *>) {
        return asDevice(value);
    } else {
        return static_cast<Result>(asInteger(value));
    }
}

// ---- replies to out-arguments -----------------------------------------------

void giveText(char **out, const Value &value, const Function &function);
int64_t handleFrom(Function &function);

/// Writes the reply's out value through `argument` where that is an out-argument.
template <typename Argument>
void giveOut(Argument argument, const Reply &reply, Function &function) {
    if constexpr (std::is_same_v<Argument, int *> || std::is_same_v<Argument, long long *> ||
                  std::is_same_v<Argument, double *> || std::is_same_v<Argument, bool *>) {
        using Number = std::remove_pointer_t<Argument>;
        if (const auto *value = std::get_if<Value>(&reply.out)) {
            *argument = std::is_same_v<Number, double> ? static_cast<Number>(asReal(*value))
                                                       : static_cast<Number>(asInteger(*value));
        } else if (std::holds_alternative<NewHandle>(reply.out) && *argument == Number{}) {
            *argument = static_cast<Number>(handleFrom(function)); // a handle given in is kept
        }
    } else if constexpr (std::is_same_v<Argument, char **>) {
        if (const auto *value = std::get_if<Value>(&reply.out)) {
            giveText(argument, *value, function);
        }
    } else if constexpr (std::is_pointer_v<Argument> && std::is_pointer_v<std::remove_pointer_t<Argument>>) {
        using Handle = std::remove_pointer_t<Argument>;
        if (const auto *value = std::get_if<Value>(&reply.out)) {
            *argument = reinterpret_cast<Handle>(static_cast<intptr_t>(asInteger(*value)));
        } else if (std::holds_alternative<NewHandle>(reply.out)) {
            *argument = reinterpret_cast<Handle>(static_cast<intptr_t>(handleFrom(function)));
        }
    }
}

} // namespace recording
