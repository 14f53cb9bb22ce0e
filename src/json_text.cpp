#include "json_text.h"

#include <array>
#include <charconv>

#include <json/writer.h>

// Scripts rely on the texts of this class; those of the library's newer one differ.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace MRBBridge {
namespace {

constexpr char PLAIN = 0;
constexpr char FOREIGN = 1;

/// For each byte of a text: PLAIN, or the letter behind a backslash that stands for it.
/// FOREIGN are those that versions of the library write in different ways.
constexpr std::array<char, 256> escapes = [] {
    std::array<char, 256> table{};
    for (size_t byte = 0; byte < table.size(); ++byte) {
        table[byte] = byte < 0x20 || byte >= 0x7F ? FOREIGN : PLAIN;
    }
    constexpr char letters[][2] = {{'"', '"'},  {'\\', '\\'}, {'\b', 'b'}, {'\f', 'f'},
                                   {'\n', 'n'}, {'\r', 'r'},  {'\t', 't'}};
    for (const auto &[byte, letter] : letters) {
        table[static_cast<unsigned char>(byte)] = letter;
    }
    return table;
}();

char EscapeOf(char byte) { return escapes[static_cast<unsigned char>(byte)]; }

/// False, with `to` unchanged, when the text holds a foreign byte.
bool AppendPlainText(std::string &to, const char *text, const char *end) {
    const size_t start = to.size();
    // Room for a text of which each byte is escaped: most texts are JSON within JSON, and each
    // of their many quotes would be an append of its own.
    to.resize(start + 2 * static_cast<size_t>(end - text) + 2);
    char *at = &to[start];
    *at++ = '"';
    for (; text != end; ++text) {
        const char escape = EscapeOf(*text);
        if (escape == FOREIGN) {
            to.resize(start);
            return false;
        }
        const bool is_plain = escape == PLAIN;
        *at = '\\';
        at += is_plain ? 0 : 1;
        *at++ = is_plain ? *text : escape;
    }
    *at++ = '"';
    to.resize(static_cast<size_t>(at - to.data()));
    return true;
}

void AppendText(std::string &to, const char *text, const char *end) {
    if (!AppendPlainText(to, text, end)) {
        to += Json::FastWriter().write(Json::Value(text, end));
        to.pop_back(); // its line feed
    }
}

template <typename Integer>
void AppendInteger(std::string &to, Integer value) {
    std::array<char, 24> digits{};
    to.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
}

void Append(std::string &to, const Json::Value &value) {
    switch (value.type()) {
    case Json::nullValue:
        to += "null";
        break;
    case Json::intValue:
        AppendInteger(to, value.asLargestInt());
        break;
    case Json::uintValue:
        AppendInteger(to, value.asLargestUInt());
        break;
    case Json::realValue:
        to += Json::valueToString(value.asDouble());
        break;
    case Json::booleanValue:
        to += value.asBool() ? "true" : "false";
        break;
    case Json::stringValue: {
        const char *text = nullptr;
        const char *end = nullptr;
        value.getString(&text, &end);
        AppendText(to, text, end);
        break;
    }
    case Json::arrayValue: {
        const char *separator = "";
        to += '[';
        for (const Json::Value &element : value) {
            to += separator;
            separator = ",";
            Append(to, element);
        }
        to += ']';
        break;
    }
    case Json::objectValue: {
        const char *separator = "";
        to += '{';
        for (auto member = value.begin(); member != value.end(); ++member) {
            to += separator;
            separator = ",";
            const char *end = nullptr;
            const char *name = member.memberName(&end);
            AppendText(to, name, end);
            to += ':';
            Append(to, *member);
        }
        to += '}';
        break;
    }
    }
}

} // namespace

std::string JsonText(const Json::Value &value) {
    std::string text;
    Append(text, value);
    text += '\n';
    return text;
}

} // namespace MRBBridge
