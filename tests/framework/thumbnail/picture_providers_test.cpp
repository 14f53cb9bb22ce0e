// Which of the ways to a picture serves a request.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mrb/agent.h"
#include "support/folder.h"
#include "thumbnail/picture_providers.h"

using mrb::thumbnail::Decoded;
using mrb::thumbnail::DecodeRequest;
using mrb::thumbnail::FlashCache;
using mrb::thumbnail::Request;

namespace {

constexpr int SIDE = 10;

// The providers, with a decoder that keeps its requests.
struct Providers {
    Decoded provide(const Request &request, FlashCache *cache = nullptr) {
        Decoded decoded;
        providePicture(request, cancellation, {decode, cache}, decoded);
        return decoded;
    }

    std::vector<std::string> paths;
    std::function<mrb::thumbnail::Decode> decode =
        [this](const DecodeRequest &request, const mrb::CancellationToken & /*cancellation*/,
               Decoded & /*decoded*/) { paths.push_back(request.path); };
    mrb::CancellationSource cancellation;
};

Request requestOf(const std::string &path) {
    Request request;
    request.decode.path = path;
    request.decode.width = request.decode.height = SIDE;
    return request;
}

// A cache below the folder that has an image of its file "a".
void fillCache(FlashCache &cache, const support::Folder &folder) {
    folder.file("a", 1);
    ASSERT_EQ(cache.open(folder.path("data/list")).code, MRB_ERR_NONE);
    mrb::thumbnail::FlashEntry entry;
    entry.key = {folder.path("a"), SIDE, SIDE, 0, 1, 0};
    entry.width = entry.height = SIDE;
    const std::vector<unsigned char> pixels(std::size_t{4} * SIDE * SIDE);
    ASSERT_TRUE(cache.save(entry, pixels.data(), nullptr));
}

} // namespace

TEST(PictureProviders, AFileIsDecoded) {
    Providers providers;
    providers.provide(requestOf("/pictures/a.jpg"));
    EXPECT_EQ(providers.paths, std::vector<std::string>{"/pictures/a.jpg"});
}

TEST(PictureProviders, WhatTheCacheHasIsNotDecoded) {
    const support::Folder folder;
    FlashCache cache;
    fillCache(cache, folder);
    Providers providers;
    EXPECT_EQ(providers.provide(requestOf(folder.path("a")), &cache).images.size(), 1U);
    EXPECT_TRUE(providers.paths.empty());
}

TEST(PictureProviders, WhatTheCacheDoesNotHaveIsDecoded) {
    const support::Folder folder;
    FlashCache cache;
    fillCache(cache, folder);
    Providers providers;
    providers.provide(requestOf(folder.path("b")), &cache);
    EXPECT_EQ(providers.paths, std::vector<std::string>{folder.path("b")});
}

TEST(PictureProviders, ARefusedRequestIsAnsweredWithItsCodeAlone) {
    Providers providers;
    Request request = requestOf("/pictures/a.jpg");
    request.refusal = MRB_ERR_INVALID_PARAMETER;
    providers.cancellation.cancel();
    const Decoded decoded = providers.provide(request);
    EXPECT_EQ(decoded.status.code, MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(decoded.status.message, "");
    EXPECT_TRUE(providers.paths.empty());
}

TEST(PictureProviders, AStoppedRequestIsNotServedAnyMore) {
    const support::Folder folder;
    FlashCache cache;
    fillCache(cache, folder);
    Providers providers;
    providers.cancellation.cancel();
    EXPECT_EQ(providers.provide(requestOf(folder.path("a")), &cache).status.code, MRB_ERR_CANCELLED);
    EXPECT_TRUE(providers.paths.empty());
}

// The cache would look for a file of this name.
TEST(PictureProviders, APictureOfAServerIsNotSearchedInTheCache) {
    const support::Folder folder;
    FlashCache cache;
    fillCache(cache, folder);
    Providers providers;
    Request request = requestOf(folder.path("a"));
    request.isRemote = true;
    EXPECT_NE(providers.provide(request, &cache).status.code, MRB_ERR_NONE);
    EXPECT_TRUE(providers.paths.empty());
}

TEST(PictureProviders, APictureOfACameraThatIsNotThereIsNotDecoded) {
    Providers providers;
    EXPECT_NE(providers.provide(requestOf("ptp://none/a.jpg")).status.code, MRB_ERR_NONE);
    EXPECT_TRUE(providers.paths.empty());
}
