// Exceptions do not reach the C libraries that call a function.

#include "base/c_callback.h"

#include <gtest/gtest.h>

#include <new>

namespace {

int half(int number, const void *user) {
    if (number % 2 != 0) {
        throw std::bad_alloc();
    }
    return user != nullptr ? number / 2 : 0;
}

void setToOne(int *number) {
    *number = 1;
    throw std::bad_alloc();
}

} // namespace

TEST(CCallback, ReturnsWhatTheFunctionReturns) {
    int (*const callback)(int, const void *) = mrb::cCallback<half>;
    EXPECT_EQ(callback(8, ""), 4);
    EXPECT_EQ(callback(8, nullptr), 0);
}

TEST(CCallback, AnExceptionBecomesTheResultOfAFailure) {
    int (*const callback)(int, const void *) = mrb::cCallback<half, -1>;
    EXPECT_EQ(callback(3, ""), -1);
    EXPECT_EQ(mrb::cCallback<half>(3, ""), 0);
}

TEST(CCallback, AFunctionWithoutAResultMayThrow) {
    void (*const callback)(int *) = mrb::cCallback<setToOne>;
    int number = 0;
    callback(&number);
    EXPECT_EQ(number, 1);
}
