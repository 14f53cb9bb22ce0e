#pragma once
// A run of script values: the arguments of a call, coming in or going out.

#include <array>
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
    ScriptArray(const ScriptArray &) = delete;
    ScriptArray &operator=(const ScriptArray &) = delete;
    ~ScriptArray() = default;

    int length() const;

    /// The value at `index`; undefined outside 0 to length() - 1.
    ScriptObject get(int index) const;

    /// Sets the value at `index` (0 or more), growing the array with undefined.
    /// Only for an array with values of its own; a view ignores it.
    void set(int index, const ScriptObject &value);

    /// The values of its own, length() of them in a row; null for a view.
    const v8::Local<v8::Value> *values() const;

  private:
    void append(v8::Local<v8::Value> value);

    const Arguments *arguments_ = nullptr;
    int length_ = 0; ///< number of values of its own
    // Callbacks take few values: these need no allocation. many_ holds more.
    std::array<v8::Local<v8::Value>, 4> few_;
    std::vector<v8::Local<v8::Value>> many_;
};

} // namespace Bridge
