#pragma once
// A run of script values: the arguments of a call, coming in or going out.

#include <vector>

#include "quill/arguments.h"
#include "quill/export.h"
#include "quill/script_object.h"

namespace Bridge {

/// Either a view of a call's Arguments, or values of its own. Lives on the stack
/// of the main thread, no longer than its handle scope (and its Arguments).
class QUILL_API ScriptArray {
  public:
    ScriptArray() = default; ///< no values yet; fill with set()
    explicit ScriptArray(const Arguments &arguments) : arguments_(&arguments) {}

    int length() const;

    /// The value at `index`; undefined outside 0 to length() - 1.
    ScriptObject get(int index) const;

    /// Sets the value at `index` (0 or more), growing the array with undefined.
    /// Only for an array with values of its own.
    void set(int index, const ScriptObject &value);

  private:
    const Arguments *arguments_ = nullptr;
    std::vector<v8::Local<v8::Value>> values_;
};

} // namespace Bridge
