#include "quill/script_object.h"

#include "quill/script_function.h"
#include "quill/strings.h"

namespace Bridge {

ScriptObject::ScriptObject(const std::string &utf8_text) : value_(StringToV8(utf8_text)) {}

ScriptObject ScriptObject::Null() { return ScriptObject(v8::Null(v8::Isolate::GetCurrent())); }

ScriptObject ScriptObject::Undefined() { return ScriptObject(v8::Undefined(v8::Isolate::GetCurrent())); }

std::string ScriptObject::asString() const {
    return isString() ? StringFromV8(value_.As<v8::String>()) : std::string();
}

ScriptFunction ScriptObject::asFunction() const { return {*this}; }

} // namespace Bridge
