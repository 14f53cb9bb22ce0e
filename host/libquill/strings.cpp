#include "quill/strings.h"

#include <array>

namespace Bridge {
namespace {

// Lone surrogates are written as U+FFFD, which takes as many bytes as they would.
#if V8_MAJOR_VERSION > 13 || (V8_MAJOR_VERSION == 13 && V8_MINOR_VERSION >= 4)
size_t utf8Length(v8::Isolate *isolate, v8::Local<v8::String> text) { return text->Utf8LengthV2(isolate); }

size_t writeUtf8(v8::Isolate *isolate, v8::Local<v8::String> text, char *buffer, size_t room) {
    return text->WriteUtf8V2(isolate, buffer, room, v8::String::WriteFlags::kReplaceInvalidUtf8);
}
#else
size_t utf8Length(v8::Isolate *isolate, v8::Local<v8::String> text) {
    return static_cast<size_t>(text->Utf8Length(isolate));
}

size_t writeUtf8(v8::Isolate *isolate, v8::Local<v8::String> text, char *buffer, size_t room) {
    return static_cast<size_t>(
        text->WriteUtf8(isolate, buffer, static_cast<int>(room), nullptr,
                        v8::String::NO_NULL_TERMINATION | v8::String::REPLACE_INVALID_UTF8));
}
#endif

} // namespace

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
    // A UTF-16 unit takes three bytes at most: a text that certainly fits is written
    // in one pass, a longer one is measured first.
    std::array<char, 1536> buffer; // NOLINT(*-member-init): written before it is read
    if (static_cast<size_t>(text->Length()) * 3 <= buffer.size()) {
        return {buffer.data(), writeUtf8(isolate, text, buffer.data(), buffer.size())};
    }
    std::string utf8(utf8Length(isolate, text), '\0');
    writeUtf8(isolate, text, utf8.data(), utf8.size());
    return utf8;
}

} // namespace Bridge
