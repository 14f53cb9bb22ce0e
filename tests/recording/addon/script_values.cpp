#include "script_values.h"

#include <algorithm>

namespace recording::addon {

namespace {

constexpr int64_t exact_limit = int64_t{1} << 53;

napi_valuetype typeOf(napi_env env, napi_value value) {
    napi_valuetype type = napi_undefined;
    check(napi_typeof(env, value, &type));
    return type;
}

// A Buffer holds a text that no script text can be: one that is not UTF-8.
std::string bytesOf(napi_env env, napi_value value) {
    bool is_buffer = false;
    check(napi_is_buffer(env, value, &is_buffer));
    if (!is_buffer) {
        throw Misuse("of objects only a Buffer is taken, as the bytes of a text");
    }
    void *bytes = nullptr;
    size_t length = 0;
    check(napi_get_buffer_info(env, value, &bytes, &length));
    return {static_cast<const char *>(bytes), length};
}

std::vector<std::string> memberNames(napi_env env, napi_value object) {
    napi_value names = nullptr;
    check(napi_get_property_names(env, object, &names));
    uint32_t count = 0;
    check(napi_get_array_length(env, names, &count));
    std::vector<std::string> result;
    for (uint32_t i = 0; i < count; ++i) {
        napi_value name = nullptr;
        check(napi_get_element(env, names, i, &name));
        result.push_back(asText(env, name));
    }
    return result;
}

} // namespace

void check(napi_status status) {
    if (status != napi_ok) {
        throw Misuse("the recorder was given a value of another kind than it takes");
    }
}

napi_value text(napi_env env, const std::string &value) {
    napi_value result = nullptr;
    check(napi_create_string_utf8(env, value.data(), value.size(), &result));
    return result;
}

napi_value number(napi_env env, int64_t value) {
    napi_value result = nullptr;
    check(napi_create_int64(env, value, &result));
    return result;
}

napi_value flag(napi_env env, bool value) {
    napi_value result = nullptr;
    check(napi_get_boolean(env, value, &result));
    return result;
}

napi_value array(napi_env env) {
    napi_value result = nullptr;
    check(napi_create_array(env, &result));
    return result;
}

void append(napi_env env, napi_value to, napi_value element) {
    uint32_t length = 0;
    check(napi_get_array_length(env, to, &length));
    check(napi_set_element(env, to, length, element));
}

napi_value object(napi_env env) {
    napi_value result = nullptr;
    check(napi_create_object(env, &result));
    return result;
}

void put(napi_env env, napi_value to, const char *key, napi_value value) {
    check(napi_set_named_property(env, to, key, value));
}

napi_value fromValue(napi_env env, const Value &value) {
    napi_value result = nullptr;
    if (const auto *string = std::get_if<std::string>(&value)) {
        return text(env, *string);
    }
    if (const auto *truth = std::get_if<bool>(&value)) {
        return flag(env, *truth);
    }
    if (const auto *real = std::get_if<double>(&value)) {
        check(napi_create_double(env, *real, &result));
        return result;
    }
    if (const auto *integer = std::get_if<int64_t>(&value)) {
        if (*integer > exact_limit || *integer < -exact_limit) {
            check(napi_create_bigint_int64(env, *integer, &result));
            return result;
        }
        return number(env, *integer);
    }
    check(napi_get_null(env, &result));
    return result;
}

Value toValue(napi_env env, napi_value value) {
    switch (typeOf(env, value)) {
    case napi_string:
        return asText(env, value);
    case napi_boolean:
        return asFlag(env, value);
    case napi_bigint:
        return asInteger(env, value);
    case napi_number: {
        double real = 0;
        check(napi_get_value_double(env, value, &real));
        const bool whole = real >= -static_cast<double>(exact_limit) &&
                           real <= static_cast<double>(exact_limit) &&
                           static_cast<double>(static_cast<int64_t>(real)) == real;
        if (whole) {
            return static_cast<int64_t>(real);
        }
        return real;
    }
    case napi_null:
        return nullptr;
    case napi_object:
        return bytesOf(env, value);
    default:
        throw Misuse("a text, Buffer, number, BigInt, boolean or null is wanted");
    }
}

std::string asText(napi_env env, napi_value value) {
    size_t length = 0;
    check(napi_get_value_string_utf8(env, value, nullptr, 0, &length));
    std::string result(length, '\0');
    check(napi_get_value_string_utf8(env, value, result.data(), length + 1, &length));
    return result;
}

int64_t asInteger(napi_env env, napi_value value) {
    int64_t result = 0;
    if (typeOf(env, value) == napi_bigint) {
        // Unsigned values keep their bits: the framework's records hold some.
        uint64_t bits = 0;
        bool lossless = false;
        check(napi_get_value_bigint_uint64(env, value, &bits, &lossless));
        return static_cast<int64_t>(bits);
    }
    check(napi_get_value_int64(env, value, &result));
    return result;
}

bool asFlag(napi_env env, napi_value value) {
    bool result = false;
    check(napi_get_value_bool(env, value, &result));
    return result;
}

Options::Options(napi_env env, napi_value object, const std::vector<std::string> &known)
    : env_(env), object_(object) {
    const napi_valuetype type = typeOf(env, object);
    if (type == napi_undefined) {
        object_ = addon::object(env);
    } else if (type != napi_object) {
        throw Misuse("an options object is wanted");
    }
    for (const std::string &name : memberNames(env, object_)) {
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            throw Misuse("there is no option " + name);
        }
    }
}

std::optional<napi_value> Options::member(const char *key) const {
    bool has = false;
    check(napi_has_named_property(env_, object_, key, &has));
    if (!has) {
        return std::nullopt;
    }
    napi_value result = nullptr;
    check(napi_get_named_property(env_, object_, key, &result));
    return result;
}

std::optional<Value> Options::value(const char *key) const {
    const auto found = member(key);
    if (!found) {
        return std::nullopt;
    }
    return toValue(env_, *found);
}

int64_t Options::integer(const char *key, int64_t otherwise) const {
    const auto found = member(key);
    return found ? asInteger(env_, *found) : otherwise;
}

bool Options::boolean(const char *key, bool otherwise) const {
    const auto found = member(key);
    return found ? asFlag(env_, *found) : otherwise;
}

std::string Options::string(const char *key, const std::string &otherwise) const {
    const auto found = member(key);
    return found ? asText(env_, *found) : otherwise;
}

std::vector<int64_t> Options::integers(const char *key) const {
    std::vector<int64_t> result;
    const auto found = member(key);
    if (!found) {
        return result;
    }
    uint32_t count = 0;
    check(napi_get_array_length(env_, *found, &count));
    for (uint32_t i = 0; i < count; ++i) {
        napi_value element = nullptr;
        check(napi_get_element(env_, *found, i, &element));
        result.push_back(asInteger(env_, element));
    }
    return result;
}

std::map<std::string, Value> members(napi_env env, napi_value object) {
    std::map<std::string, Value> result;
    for (const std::string &name : memberNames(env, object)) {
        napi_value member = nullptr;
        check(napi_get_named_property(env, object, name.c_str(), &member));
        result.emplace(name, toValue(env, member));
    }
    return result;
}

} // namespace recording::addon
