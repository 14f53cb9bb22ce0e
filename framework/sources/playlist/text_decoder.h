#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mrb {

// Decodes text incrementally: UTF-16, if a byte order mark says so, becomes UTF-8, and any other
// text is passed through. Owned and used by one thread.
class TextDecoder {
  public:
    // The text of the next bytes. It is valid until the next call, and as long as they are.
    std::string_view decode(std::string_view bytes);

    // The rest, after the last bytes.
    std::string_view finish();

  private:
    enum class Encoding { NOT_KNOWN_YET, AS_IT_IS, LITTLE_ENDIAN_UTF16, BIG_ENDIAN_UTF16 };

    static Encoding encodingOf(std::string_view beginning);
    void append(char16_t unit);

    Encoding encoding_ = Encoding::NOT_KNOWN_YET;
    std::string beginning_;    // the first bytes, until there are enough for a byte order mark
    std::optional<char> half_; // the first byte of a UTF-16 unit
    char16_t lead_ = 0;        // a high surrogate that waits for its low one; 0: none
    std::string text_;
};

} // namespace mrb
