#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mrb {

// Text that comes in pieces: UTF-8 of what a byte order mark says is UTF-16, and any other
// as it is. Owned and used by one thread.
class TextDecoder {
  public:
    // What the next bytes say. It lives until the next call, and as long as they do.
    std::string_view decode(std::string_view bytes);

    // The rest, after the last bytes.
    std::string_view finish();

  private:
    enum class Encoding { NOT_KNOWN_YET, AS_IT_IS, LITTLE_ENDIAN_UTF16, BIG_ENDIAN_UTF16 };

    static Encoding encodingOf(std::string_view beginning);
    void append(char16_t unit);

    Encoding encoding_ = Encoding::NOT_KNOWN_YET;
    std::string beginning_;    // up to the first piece with which a mark would be whole
    std::optional<char> half_; // of a unit
    char16_t lead_ = 0;        // of a pair; 0: none waits for its other unit
    std::string text_;
};

} // namespace mrb
