#pragma once

#include <glib-object.h>

#include <memory>

namespace mrb::dlna {

struct Unref {
    void operator()(void *object) const { g_object_unref(object); }
};

// One reference to a GObject.
template <typename Type>
using Object = std::unique_ptr<Type, Unref>;

// A further reference to an object that somebody else owns.
template <typename Type>
Object<Type> share(Type *object) {
    return Object<Type>(static_cast<Type *>(g_object_ref(object)));
}

struct FreeText {
    void operator()(char *text) const { g_free(text); }
};

using Text = std::unique_ptr<char, FreeText>;

} // namespace mrb::dlna
