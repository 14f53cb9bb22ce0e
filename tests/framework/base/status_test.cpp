// The values by which the framework reports how something ended.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "base/result.h"

namespace {

using mrb::Status;

TEST(Status, IsASuccessUnlessMadeAsAFailure) {
    const Status status;

    EXPECT_TRUE(status.ok());
    EXPECT_EQ(status.code, MRB_ERR_NONE);
    EXPECT_EQ(status.message, "");
}

TEST(Status, IsNotOkWithAnyOtherCode) {
    EXPECT_FALSE((Status{MRB_ERR_OUT_OF_RANGE, {}}).ok());
    EXPECT_FALSE((Status{1, {}}).ok());
}

TEST(Status, KeepsTheMessageOfAFailure) {
    EXPECT_EQ(Status::busy("\"a\" is held.").message, "\"a\" is held.");
    EXPECT_EQ(Status::busy().message, "");
}

TEST(Status, NamesTheObjectAndTheSystemsError) {
    const Status status = Status::ofErrno(EACCES, "DCIM");

    EXPECT_EQ(status.code, MRB_ERR_PERMISSION_DENIED);
    EXPECT_EQ(status.message, "DCIM: Permission denied");
}

struct Factory {
    const char *name;
    Status (*make)(std::string message);
    int code;
};

class StatusFactories : public testing::TestWithParam<Factory> {};

TEST_P(StatusFactories, ReturnTheCodeOfTheirName) {
    const Status status = GetParam().make("why");

    EXPECT_EQ(status.code, GetParam().code);
    EXPECT_EQ(status.message, "why");
    EXPECT_FALSE(status.ok());
}

INSTANTIATE_TEST_SUITE_P(
    All, StatusFactories,
    testing::Values(Factory{"invalidParameter", Status::invalidParameter, MRB_ERR_INVALID_PARAMETER},
                    Factory{"invalidHandle", Status::invalidHandle, MRB_ERR_INVALID_HANDLE},
                    Factory{"notFound", Status::notFound, MRB_ERR_NOT_FOUND},
                    Factory{"notSupported", Status::notSupported, MRB_ERR_NOT_SUPPORTED},
                    Factory{"permissionDenied", Status::permissionDenied, MRB_ERR_PERMISSION_DENIED},
                    Factory{"ioError", Status::ioError, MRB_ERR_IO},
                    Factory{"outOfMemory", Status::outOfMemory, MRB_ERR_OUT_OF_MEMORY},
                    Factory{"cancelled", Status::cancelled, MRB_ERR_CANCELLED},
                    Factory{"deviceRemoved", Status::deviceRemoved, MRB_ERR_DEVICE_REMOVED},
                    Factory{"noSpace", Status::noSpace, MRB_ERR_NO_SPACE},
                    Factory{"timedOut", Status::timedOut, MRB_ERR_TIMEOUT},
                    Factory{"protocolError", Status::protocolError, MRB_ERR_PROTOCOL},
                    Factory{"busy", Status::busy, MRB_ERR_BUSY},
                    Factory{"notInitialized", Status::notInitialized, MRB_ERR_NOT_INITIALIZED},
                    Factory{"corrupt", Status::corrupt, MRB_ERR_CORRUPT}),
    [](const testing::TestParamInfo<Factory> &each) { return std::string(each.param.name); });

} // namespace
