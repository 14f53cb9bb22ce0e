#pragma once
// A script function that native code keeps.

#include <v8.h>

#include "quill/export.h"
#include "quill/script_array.h"
#include "quill/script_object.h"

namespace Bridge {

struct FunctionOwner;

/// Keeps a script value, as a rule a function, for as long as it lives. Main
/// thread only. A copy keeps the same function.
///
/// A function kept since a call of a script object's method belongs to that
/// object and keeps the program alive, as a timer does, until it is let go.
class QUILL_API ScriptFunction {
  public:
    ScriptFunction() noexcept;                 ///< holds no value
    ScriptFunction(const ScriptObject &value); // NOLINT(google-explicit-constructor): slots start as Null()
    ScriptFunction(const ScriptFunction &other);
    ScriptFunction(ScriptFunction &&other) noexcept;
    ScriptFunction &operator=(const ScriptFunction &other);
    ScriptFunction &operator=(ScriptFunction &&other) noexcept;
    ~ScriptFunction();

    bool isFunction() const;

    /// The value, in the current handle scope; an empty handle when there is none.
    v8::Local<v8::Value> getValue() const;

    /// Calls the function and returns what it returned, or an empty ScriptObject
    /// when this holds no function or the function threw. What it threw is
    /// reported by the host. Needs a handle scope.
    ScriptObject invoke(const ScriptArray &arguments) const;

  private:
    v8::Global<v8::Value> value_;
    FunctionOwner *owner_ = nullptr; ///< null: kept on no object's behalf
};

} // namespace Bridge
