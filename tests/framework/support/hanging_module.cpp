// A library in the place of one that the framework loads: its loading never ends.

#include <unistd.h>

#include <string_view>

[[gnu::constructor]] static void hang() {
    constexpr std::string_view SAID = "hanging\n";
    static_cast<void>(!write(STDERR_FILENO, SAID.data(), SAID.size()));
    for (;;) {
        pause();
    }
}
