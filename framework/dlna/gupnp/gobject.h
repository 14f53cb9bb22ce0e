#pragma once

#include <glib-object.h>

#include <memory>

#include "base/deleter.h"

namespace mrb::dlna {

// One reference to a GObject.
template <typename Type>
using Object = std::unique_ptr<Type, Deleter<g_object_unref>>;

// A further reference to an object with another owner.
template <typename Type>
Object<Type> share(Type *object) {
    return Object<Type>(static_cast<Type *>(g_object_ref(object)));
}

using Text = std::unique_ptr<char, Deleter<g_free>>;

} // namespace mrb::dlna
