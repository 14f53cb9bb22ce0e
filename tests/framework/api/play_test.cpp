// Play data and ratings.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "support/client.h"
#include "support/folder.h"

using support::Client;
using support::Folder;

namespace {

// Calls a function that returns a text; the code and the text, or "" without one.
template <typename Call>
std::pair<int, std::string> textOf(Call &&call) {
    char *text = nullptr;
    const int code = call(&text);
    std::string copy = text != nullptr ? text : "";
    std::free(text);
    return {code, copy};
}

std::pair<int, std::string> playData(const Client &client) {
    return textOf([&](char **text) { return mrb_prepare_play_data_v2(client.handle, text); });
}

std::pair<int, std::string> rating(const Client &client) {
    return textOf([&](char **text) { return mrb_get_rating_info_v2(client.handle, text); });
}

} // namespace

TEST(PlayData, OfTheItemUnderTheCursorHoldWhatAPlayerNeeds) {
    const Folder folder;
    folder.file("a.jpg");
    folder.file("b c.mp3", 321);
    Client client;
    client.list(folder.path());
    ASSERT_EQ(mrb_move_to_index_v2(client.handle, 1), MRB_ERR_NONE);
    const auto [code, text] = playData(client);
    ASSERT_EQ(code, MRB_ERR_NONE);
    const Json::Value data = support::parse(text.c_str());
    EXPECT_EQ(data["name"], "b c.mp3");
    EXPECT_EQ(data["path"], folder.path("b c.mp3"));
    EXPECT_EQ(data["url"], "file://" + folder.path("b%20c.mp3"));
    EXPECT_EQ(data["media_id"], "msc:" + folder.path("b%20c.mp3"));
    EXPECT_EQ(data["mime_type"], "audio/mpeg");
    EXPECT_EQ(data["size"], 321);
    EXPECT_EQ(data["resume_position"], 0);
    EXPECT_EQ(data.size(), 7U);
}

TEST(PlayData, FollowTheItemThroughASort) {
    const Folder folder;
    folder.file("a.jpg", 2);
    folder.file("b.jpg", 1);
    Client client;
    client.list({.path = folder.path(), .sortCategory = "SIZE"});
    // The cursor was never moved: it is on the first entry.
    EXPECT_EQ(support::parse(playData(client).second.c_str())["name"], "b.jpg");
}

TEST(PlayData, OfWhatIsNotPlayedAreNotSupported) {
    const Folder folder;
    folder.file("sub/a.jpg");
    Client client;
    client.list(folder.path());
    for (const int navigation : {MRB_NAVIGATION_FLAT, MRB_NAVIGATION_ENTER}) {
        // The folder, then the up-folder entry.
        ASSERT_EQ(mrb_set_navigation_v2(client.handle, navigation), MRB_ERR_NONE);
        EXPECT_EQ(playData(client), std::pair(int{MRB_ERR_NOT_SUPPORTED}, std::string()));
        EXPECT_EQ(rating(client), std::pair(int{MRB_ERR_NOT_SUPPORTED}, std::string()));
    }
}

TEST(PlayData, OfAnEmptyListAreNotFound) {
    const Folder folder;
    Client client;
    client.list(folder.path());
    EXPECT_EQ(playData(client).first, MRB_ERR_NOT_FOUND);
    EXPECT_EQ(rating(client).first, MRB_ERR_NOT_FOUND);
}

TEST(PlayData, NeedAnOpenListAndAPlace) {
    char *text = nullptr;
    EXPECT_EQ(mrb_prepare_play_data_v2(0, &text), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_get_rating_info_v2(0, &text), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_prepare_play_data_v2(1, nullptr), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_get_rating_info_v2(1, nullptr), MRB_ERR_INVALID_PARAMETER);
}

TEST(Rating, OfAFileIsUnknown) {
    const Folder folder;
    folder.file("a.jpg");
    Client client;
    client.list(folder.path());
    const auto [code, text] = rating(client);
    ASSERT_EQ(code, MRB_ERR_NONE);
    const Json::Value data = support::parse(text.c_str());
    EXPECT_EQ(data["media_id"], "msc:" + folder.path("a.jpg"));
    EXPECT_TRUE(data.isMember("rating") && data["rating"].isNull());
    EXPECT_TRUE(data.isMember("minimum_age") && data["minimum_age"].isNull());
    EXPECT_EQ(data.size(), 3U);
}
