// Result codes and their names.

#include <gtest/gtest.h>

#include <cerrno>

#include "base/result.h"

TEST(Results, EveryCodeHasItsName) {
    for (int code = MRB_ERR_CORRUPT; code <= MRB_ERR_NONE; ++code) {
        EXPECT_STRNE(mrb::resultName(code), "MRB_ERR_UNKNOWN") << code;
    }
    EXPECT_STREQ(mrb::resultName(1), "MRB_ERR_UNKNOWN");
}

TEST(Results, ErrorsOfTheSystemKeepTheirMeaning) {
    EXPECT_EQ(mrb::resultOfErrno(ENODEV), MRB_ERR_DEVICE_REMOVED);
    EXPECT_EQ(mrb::resultOfErrno(EIO), MRB_ERR_IO);
    EXPECT_EQ(mrb::resultOfErrno(EPROTO), MRB_ERR_IO);
    EXPECT_EQ(mrb::Status::ofErrno(ENOENT, "/x").message, "/x: No such file or directory");
}
