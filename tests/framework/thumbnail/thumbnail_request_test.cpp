// Requests for thumbnails: their defaults, and which of them are refused.

#include <gtest/gtest.h>

#include "mrb/agent.h"
#include "mrb/thumbnail.h"
#include "support/thumbnails.h"
#include "thumbnail/request.h"

using mrb::thumbnail::Request;

TEST(ThumbnailRequest, AnEmptyRecordMeansTheDefaults) {
    _thumb_request record{};
    record.origin_path = "/a";
    const Request request = mrb::thumbnail::readRequest(record);
    EXPECT_EQ(request.refusal, MRB_ERR_NONE);
    EXPECT_EQ(request.decode.width, 256);
    EXPECT_EQ(request.decode.height, 256);
    EXPECT_EQ(request.decode.frames, 1);
}

TEST(ThumbnailRequest, AFileUriNamesItsFile) {
    _thumb_request record{};
    record.origin_path = "file:///a%20b.jpg";
    EXPECT_EQ(mrb::thumbnail::readRequest(record).decode.path, "/a b.jpg");
}

TEST(ThumbnailRequest, WhatIsWrongWithARequestIsItsResult) {
    const struct {
        const char *path;
        int width, orientation, frames, code;
    } cases[] = {
        {"relative.jpg", 1, 0, 1, MRB_ERR_INVALID_PARAMETER}, {"", 1, 0, 1, MRB_ERR_INVALID_PARAMETER},
        {"http://a/b.jpg", 1, 0, 1, MRB_ERR_NOT_SUPPORTED},   {"/a", -1, 0, 1, MRB_ERR_INVALID_PARAMETER},
        {"/a", 4097, 0, 1, MRB_ERR_INVALID_PARAMETER},        {"/a", 1, 9, 1, MRB_ERR_INVALID_PARAMETER},
        {"/a", 1, -1, 1, MRB_ERR_INVALID_PARAMETER},          {"/a", 1, 0, 6, MRB_ERR_INVALID_PARAMETER},
    };
    support::Thumbnails client;
    for (const auto &one : cases) {
        const support::ThumbnailOptions options{
            .path = one.path, .orientation = one.orientation, .width = one.width, .frames = one.frames};
        const support::Thumbnail answer = client.get(options);
        EXPECT_EQ(answer.code, one.code) << one.path;
        EXPECT_EQ(answer.origin, one.path);
        EXPECT_FALSE(answer.hadPreset);
    }
}

TEST(ThumbnailRequest, NullsAreRefused) {
    support::Thumbnails client;
    _thumb_request record{};
    EXPECT_EQ(thumbnail_request_async(record), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(thumbnail_request_cancel(record), MRB_ERR_INVALID_PARAMETER);
    record.origin_path = "/a";
    EXPECT_EQ(thumbnail_request_async(record), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_thumbnail_flash_cache_init(nullptr), MRB_ERR_INVALID_PARAMETER);
}
