#include "quill/strings.h"

namespace Bridge {

v8::Local<v8::String> StringToV8(const std::string &text) {
    if (text.size() > static_cast<size_t>(v8::String::kMaxLength)) {
        return {};
    }
    v8::Local<v8::String> string;
    if (!v8::String::NewFromUtf8(v8::Isolate::GetCurrent(), text.data(), v8::NewStringType::kNormal,
                                 static_cast<int>(text.size()))
             .ToLocal(&string)) {
        return {};
    }
    return string;
}

std::string StringFromV8(v8::Local<v8::String> text) {
    v8::Isolate *isolate = v8::Isolate::GetCurrent();
    std::string utf8;
#if V8_MAJOR_VERSION > 13 || (V8_MAJOR_VERSION == 13 && V8_MINOR_VERSION >= 4)
    utf8.resize(text->Utf8LengthV2(isolate));
    text->WriteUtf8V2(isolate, utf8.data(), utf8.size(), v8::String::WriteFlags::kReplaceInvalidUtf8);
#else
    // A lone surrogate takes three bytes in either form, so the length holds.
    utf8.resize(static_cast<size_t>(text->Utf8Length(isolate)));
    text->WriteUtf8(isolate, utf8.data(), static_cast<int>(utf8.size()), nullptr,
                    v8::String::NO_NULL_TERMINATION | v8::String::REPLACE_INVALID_UTF8);
#endif
    return utf8;
}

} // namespace Bridge
