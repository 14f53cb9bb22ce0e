#include "support/names.h"

#include <iterator>
#include <random>

namespace support {

std::vector<std::string> variedNames(std::size_t count) {
    const char *pieces[] = {"DSC_", "img", "IMG ", "É",    "e\u0301",  "ß",   "漢", "か",
                            "ガ",   "한",  "0",    "00",   "9",        "10",  "a",  "A",
                            "-",    ".",   "\xff", "\xc3", "\xe2\x82", "\x01"};
    std::minstd_rand random(11);
    std::vector<std::string> names;
    for (std::size_t index = 0; index < count; ++index) {
        std::string name;
        for (auto length = random() % 6; length > 0; --length) {
            name += pieces[random() % std::size(pieces)];
        }
        names.push_back(name);
    }
    return names;
}

} // namespace support
