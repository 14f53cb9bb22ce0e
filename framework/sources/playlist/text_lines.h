#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "sources/playlist/text_decoder.h"

namespace mrb {

// Cuts text that comes in pieces, see TextDecoder, into lines, which end with a line feed, a carriage
// return or both. Blanks around a line and a byte order mark are taken off; empty lines,
// and those that are too long or hold a zero, are left out. Owned and used by one thread.
class TextLines {
  public:
    // False: no more lines are wanted.
    using Take = std::function<bool(std::string_view line)>;

    explicit TextLines(Take take) : take_(std::move(take)) {}

    // False: no more lines are wanted.
    [[nodiscard]] bool feed(std::string_view bytes) { return cut(decoder_.decode(bytes)); }
    // The last line may have no end.
    void finish() { static_cast<void>(cut(decoder_.finish()) && end({})); }

  private:
    [[nodiscard]] bool cut(std::string_view text);
    [[nodiscard]] bool end(std::string_view rest);

    const Take take_;
    TextDecoder decoder_;
    std::string begun_; // of a line whose end has not come yet
    bool isTooLong_ = false;
    bool isFirst_ = true;
};

// `bytes` as UTF-8: as they are where they are UTF-8, else as Windows writes Western
// European letters, which holds all that Latin-1 does.
std::string utf8Of(std::string_view bytes);

} // namespace mrb
