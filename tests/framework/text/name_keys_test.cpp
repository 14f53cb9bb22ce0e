// Keys that sort names: shortened ones in little memory.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/names.h"
#include "text/name_keys.h"

namespace {

int sign(int value) { return (value > 0) - (value < 0); }

} // namespace

TEST(NameKeys, PrefixesNeverContradictTheKeys) {
    for (const char *beginning : {"", "DSC_0"}) {
        mrb::NameKeys keys;
        std::vector<std::string> names = support::variedNames(300);
        for (std::string &name : names) {
            name.insert(0, beginning);
            keys.add(name);
        }
        mrb::NaturalOrder order;
        for (std::size_t left = 0; left < names.size(); ++left) {
            for (std::size_t right = 0; right < names.size(); ++right) {
                const int expected = sign(order.key(names[left]).compare(order.key(names[right])));
                ASSERT_EQ(sign(keys.compare(left, right)), expected);
                if (keys.prefix(left) != keys.prefix(right)) {
                    ASSERT_EQ(keys.prefix(left) < keys.prefix(right), expected < 0);
                }
            }
        }
    }
}

TEST(NameKeys, ALongNamesKeyIsCutOff) {
    mrb::NameKeys keys;
    const std::string start(60'000, 'x');
    keys.add(start + "a");
    keys.add(start + "b");
    keys.add("a");
    EXPECT_LT(keys.compare(2, 0), 0);
    EXPECT_EQ(keys.compare(0, 0), 0);
}
