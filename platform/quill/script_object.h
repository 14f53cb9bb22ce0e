#pragma once
// A script value on its way through native code.

#include <string>

#include <v8.h>

#include "quill/export.h"

namespace Bridge {

class ScriptFunction;

/// A script value. Lives on the stack of the main thread, no longer than the
/// handle scope it was created in; ScriptFunction keeps a function for longer.
class QUILL_API ScriptObject {
  public:
    ScriptObject() noexcept = default; ///< holds no value at all
    explicit ScriptObject(v8::Local<v8::Value> value) noexcept : value_(value) {}
    explicit ScriptObject(const std::string &utf8_text);

    static ScriptObject Null();
    static ScriptObject Undefined();

    bool isString() const { return !value_.IsEmpty() && value_->IsString(); }
    bool isFunction() const { return !value_.IsEmpty() && value_->IsFunction(); }

    /// The text of a script string, as UTF-8; an empty text for any other value.
    /// Runs no script code.
    std::string asString() const;

    /// The value as a function that may be kept.
    ScriptFunction asFunction() const;

    /// The value; an empty handle when there is none.
    v8::Local<v8::Value> getValue() const noexcept { return value_; }

  private:
    v8::Local<v8::Value> value_;
};

} // namespace Bridge
