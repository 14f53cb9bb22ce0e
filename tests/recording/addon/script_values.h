#pragma once
// Conversion between script values and C++ values over Node-API. Main thread only.

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <node_api.h>

#include "value.h"

namespace recording::addon {

/// A test's wrong use of the addon; becomes a script TypeError.
struct Misuse : std::runtime_error {
    using std::runtime_error::runtime_error;
};

void check(napi_status status);

napi_value text(napi_env env, const std::string &value);
napi_value number(napi_env env, int64_t value);
napi_value flag(napi_env env, bool value);
napi_value array(napi_env env);
void append(napi_env env, napi_value to, napi_value element);
napi_value object(napi_env env);
void put(napi_env env, napi_value to, const char *key, napi_value value);

/// Integers outside what a script number holds exactly become BigInts; a Buffer
/// becomes a text of its bytes.
napi_value fromValue(napi_env env, const Value &value);
Value toValue(napi_env env, napi_value value);

std::string asText(napi_env env, napi_value value);
int64_t asInteger(napi_env env, napi_value value);
bool asFlag(napi_env env, napi_value value);

/// The members of the options object that a test passes, each with its default.
class Options {
  public:
    /// Refuses a value that is not an object, and members whose names are not known.
    Options(napi_env env, napi_value object, const std::vector<std::string> &known);

    int64_t integer(const char *key, int64_t otherwise = 0) const;
    bool boolean(const char *key, bool otherwise = false) const;
    std::string string(const char *key, const std::string &otherwise = "") const;
    std::vector<int64_t> integers(const char *key) const;

    /// The member, or nothing when it is absent.
    std::optional<Value> value(const char *key) const;
    std::optional<napi_value> member(const char *key) const;

  private:
    napi_env env_;
    napi_value object_;
};

/// All own members of an object.
std::map<std::string, Value> members(napi_env env, napi_value object);

/// The arguments of a call, exactly `Count` of them; missing ones are undefined.
template <size_t Count>
std::vector<napi_value> argumentsOf(napi_env env, napi_callback_info info) {
    size_t count = Count;
    std::vector<napi_value> arguments(Count);
    check(napi_get_cb_info(env, info, &count, arguments.data(), nullptr, nullptr));
    return arguments;
}

/// A Node-API callback around `Function`, which may throw Misuse.
template <napi_value (*Function)(napi_env, napi_callback_info)>
napi_value guarded(napi_env env, napi_callback_info info) noexcept {
    try {
        return Function(env, info);
    } catch (const std::exception &error) {
        napi_throw_type_error(env, nullptr, error.what());
        return nullptr;
    }
}

} // namespace recording::addon
