// A library in the place of one of the framework's modules: its loading never ends.

#include <unistd.h>

#include <string_view>

[[gnu::constructor]] static void hang() {
    constexpr std::string_view TEXT = "hanging\n";
    static_cast<void>(!write(STDERR_FILENO, TEXT.data(), TEXT.size()));
    for (;;) {
        pause();
    }
}
