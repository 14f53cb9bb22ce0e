#pragma once
// Text between C++ (UTF-8) and V8. Main thread, inside a handle scope.

#include <string>

#include <v8.h>

#include "quill/export.h"

namespace Bridge {

/// A script string of the UTF-8 `text`; bytes that are not UTF-8 become U+FFFD.
/// Empty handle when the text is longer than a script string can be.
QUILL_API v8::Local<v8::String> StringToV8(const std::string &text);

/// The UTF-8 text of a script string; lone surrogates become U+FFFD.
QUILL_API std::string StringFromV8(v8::Local<v8::String> text);

} // namespace Bridge
