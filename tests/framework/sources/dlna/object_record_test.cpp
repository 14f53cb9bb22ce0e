// The record of a media object in a list.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "list/item_store.h"
#include "sources/dlna/object_record.h"

using mrb::ItemInfo;
using mrb::ItemStore;
using mrb::MetadataKey;
using mrb::dlna::MediaObject;
using testing::IsEmpty;

TEST(DlnaRecord, ComesBackAsItWasFromAList) {
    MediaObject object;
    object.id = "object 7";
    object.url = "http://10.0.0.1/7.jpg";
    object.thumbnail = "http://10.0.0.1/7-small.jpg";
    object.metadata.setText(MetadataKey::ARTIST, "Ünal");
    object.metadata.setNumber(MetadataKey::DURATION, 123'456'789'012);
    object.metadata.setReal(MetadataKey::LATITUDE, 48.5);
    const std::string packed = mrb::packRecord(object);
    mrb::SourceItem item;
    item.name = "seven";
    item.id = object.id;
    item.record = packed;
    ItemStore store;
    ASSERT_TRUE(store.add(item, true));
    const ItemInfo metadata = store.info(0);
    EXPECT_EQ(metadata.id, "object 7");
    const mrb::ObjectRecord record = mrb::unpackRecord(metadata.record);
    EXPECT_EQ(record.url, object.url);
    EXPECT_EQ(record.thumbnail, object.thumbnail);
    EXPECT_EQ(record.metadata.text(MetadataKey::ARTIST), "Ünal");
    EXPECT_EQ(record.metadata.number(MetadataKey::DURATION), 123'456'789'012);
    EXPECT_EQ(record.metadata[MetadataKey::LATITUDE], mrb::MetadataValue(48.5));
    EXPECT_FALSE(record.metadata.has(MetadataKey::ALBUM));
    ItemInfo wanted;
    wanted.id = "object 7";
    EXPECT_TRUE(store.isItem(0, wanted));
}

TEST(DlnaRecord, OfAListThatGaveNoneIsEmpty) {
    ItemStore store;
    mrb::SourceItem item;
    item.name = "file";
    ASSERT_TRUE(store.add(item, true));
    EXPECT_THAT(store.info(0).record, IsEmpty());
}

TEST(DlnaRecord, OfLongTextsFitsIntoAList) {
    MediaObject object;
    for (std::size_t key = 0; key < mrb::METADATA_KEYS; ++key) {
        object.metadata.setText(static_cast<MetadataKey>(key),
                                std::string(mrb::Metadata::MAX_TEXT_LENGTH, 'x'));
    }
    object.id = std::string(mrb::Metadata::MAX_TEXT_LENGTH, 'i');
    const std::string packed = mrb::packRecord(object);
    mrb::SourceItem item;
    item.id = object.id;
    item.record = packed;
    ItemStore store;
    ASSERT_TRUE(store.add(item, true));
    EXPECT_EQ(store.info(0).record, packed);
}

TEST(DlnaRecord, TimesAreThoseOfTheServersDates) {
    EXPECT_EQ(mrb::secondsOfDate("1970-01-02"), 86400);
    EXPECT_EQ(mrb::secondsOfDate("1970-01-01T01:00:00"), 3600);
    EXPECT_EQ(mrb::secondsOfDate("1970-01-01T01:00:00Z"), 3600);
    EXPECT_EQ(mrb::secondsOfDate("1970-01-01T01:00:00+01:00"), 0);
    EXPECT_EQ(mrb::secondsOfDate("1970-01-01T00:00:00.5-0130"), 5400);
    for (const char *none : {"", "x", "2026", "2026-02-30", "2026-13-01", "-026-01-01", "aaaa-bb-cc"}) {
        EXPECT_EQ(mrb::secondsOfDate(none), mrb::UNKNOWN) << none;
    }
}

TEST(DlnaRecord, ExtensionsAreThoseOfTheUrlsPath) {
    EXPECT_EQ(mrb::extensionOfUrl("http://h:8200/MediaItems/22.jpg?a.b/c.d"), "jpg");
    EXPECT_EQ(mrb::extensionOfUrl("http://host.example"), "");
    EXPECT_EQ(mrb::extensionOfUrl("http://host.example/"), "");
    EXPECT_EQ(mrb::extensionOfUrl(""), "");
}
