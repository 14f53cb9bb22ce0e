#pragma once
// A script function that native code keeps.

#include <v8.h>

#include "quill/export.h"
#include "quill/script_array.h"
#include "quill/script_object.h"

namespace Bridge {

/// Keeps a script value, as a rule a function, for as long as it or a copy of it
/// exists; copies are cheap and share one reference. Main thread only.
///
/// A function that is first kept during a call of a script object's method belongs to
/// that object and keeps the program alive, as a timer does, until it is released.
class QUILL_API ScriptFunction {
  public:
    ScriptFunction() noexcept = default;       ///< holds no value
    ScriptFunction(const ScriptObject &value); // NOLINT(google-explicit-constructor): slots start as Null()
    ScriptFunction(const ScriptFunction &other) noexcept;
    ScriptFunction(ScriptFunction &&other) noexcept;
    ScriptFunction &operator=(ScriptFunction other) noexcept;
    ~ScriptFunction();

    bool isFunction() const;

    /// The value; an empty handle when there is none. Needs a handle scope, as
    /// invoke() does.
    v8::Local<v8::Value> getValue() const;

    /// Calls the function and returns its result, or an empty ScriptObject when this
    /// holds no function or the function threw. The host reports what it threw.
    ScriptObject invoke(const ScriptArray &arguments) const;

  private:
    struct Kept;

    Kept *kept_ = nullptr;
};

} // namespace Bridge
