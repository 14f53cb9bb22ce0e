#pragma once
// A run of script values: the arguments of a call, coming in or going out.

#include <array>
#include <cstddef>
#include <memory_resource>
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

  private:
    const Arguments *arguments_ = nullptr;
    std::array<std::byte, 64> room_; ///< for the few values that a callback takes
    std::pmr::monotonic_buffer_resource pool_{room_.data(), room_.size()};
    std::pmr::vector<v8::Local<v8::Value>> values_{&pool_};
};

} // namespace Bridge
