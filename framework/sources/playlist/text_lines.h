#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "sources/playlist/text_decoder.h"

namespace mrb {

// Splits text into lines incrementally, see TextDecoder. A line ends with a line feed, a carriage
// return or both. Blanks around a line and a byte order mark are removed; lines that are empty,
// too long or hold a zero byte are left out. Owned and used by one thread.
class TextLines {
  public:
    // Takes a line; false: splitting ends.
    using Consumer = std::function<bool(std::string_view line)>;

    explicit TextLines(Consumer take) : take_(std::move(take)) {}

    // False: a callback returned false.
    [[nodiscard]] bool feed(std::string_view bytes) { return cut(decoder_.decode(bytes)); }
    // The last line may be unterminated.
    void finish() { static_cast<void>(cut(decoder_.finish()) && end({})); }

  private:
    [[nodiscard]] bool cut(std::string_view text);
    [[nodiscard]] bool end(std::string_view rest);

    const Consumer take_;
    TextDecoder decoder_;
    std::string begun_; // of a line whose end has not arrived yet
    bool isTooLong_ = false;
    bool isFirst_ = true;
};

// `bytes` as UTF-8: unchanged where they are UTF-8, else converted from Windows-1252, which
// includes all letters of Latin-1.
std::string utf8Of(std::string_view bytes);

} // namespace mrb
