#pragma once
// Common to all C functions: exceptions do not cross the C interface, and texts are returned in
// memory of malloc.

#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <string>
#include <system_error>

#include "base/log.h"
#include "mrb/result.h"

namespace mrb {

// Runs the body of a C function and converts exceptions to a code.
template <typename Body>
int guard(Body &&body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc &) {
        return MRB_ERR_OUT_OF_MEMORY;
    } catch (const std::system_error &failure) {
        return failure.code() == std::errc::resource_unavailable_try_again ? MRB_ERR_OUT_OF_MEMORY
                                                                           : MRB_ERR_IO;
    } catch (const std::exception &failure) {
        MRB_LOG_ERROR("A call failed: %s", failure.what());
        return MRB_ERR_IO;
    }
}

// Copies `text` for a caller, who will free it.
inline int copyToCaller(const std::string &text, char **out) {
    auto *copy = static_cast<char *>(std::malloc(text.size() + 1));
    if (copy == nullptr) {
        return MRB_ERR_OUT_OF_MEMORY;
    }
    std::memcpy(copy, text.c_str(), text.size() + 1);
    *out = copy;
    return MRB_ERR_NONE;
}

// Creates a parameter object in *out.
template <typename Object>
int createObject(Object **out) noexcept {
    if (out == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    Object *object = new (std::nothrow) Object;
    if (object == nullptr) {
        return MRB_ERR_OUT_OF_MEMORY;
    }
    *out = object;
    return MRB_ERR_NONE;
}

// Releases a parameter object.
template <typename Object>
int destroyObject(Object *object) noexcept {
    if (object == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    delete object;
    return MRB_ERR_NONE;
}

// Sets one member of a parameter object.
template <typename Object, typename Value>
int setValue(Object *object, Value Object::*member, Value value) noexcept {
    if (object == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    object->*member = value;
    return MRB_ERR_NONE;
}

// The same for a text, which is copied.
template <typename Object>
int setText(Object *object, std::string Object::*member, const char *text) noexcept {
    if (object == nullptr || text == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return guard([&] {
        object->*member = text;
        return static_cast<int>(MRB_ERR_NONE);
    });
}

} // namespace mrb
