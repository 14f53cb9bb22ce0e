// The natural order of names.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/names.h"
#include "text/collation.h"

namespace {

int sign(int value) { return (value > 0) - (value < 0); }

} // namespace

TEST(NaturalOrder, DifferentNamesHaveDifferentKeys) {
    mrb::NaturalOrder order;
    EXPECT_NE(order.key("a"), order.key("a\x01"));
    EXPECT_NE(order.key("1"), order.key("01"));
    EXPECT_NE(order.key("\xff"), order.key("\xfe"));
}

TEST(NaturalOrder, AnEmptyNameComesFirst) {
    mrb::NaturalOrder order;
    EXPECT_LT(order.key(""), order.key("0"));
}

TEST(NaturalOrder, LongNumbersCountByTheirValue) {
    mrb::NaturalOrder order;
    EXPECT_LT(order.key("99999999999999999999"), order.key("100000000000000000000"));
}

TEST(NaturalOrder, ComparesNamesAsTheirKeysDo) {
    mrb::NaturalOrder order;
    const std::vector<std::string> names = support::variedNames(300);
    for (const std::string &left : names) {
        for (const std::string &right : names) {
            ASSERT_EQ(sign(order.compare(left, right)), sign(order.key(left).compare(order.key(right))))
                << testing::PrintToString(left) << " and " << testing::PrintToString(right);
        }
    }
}
