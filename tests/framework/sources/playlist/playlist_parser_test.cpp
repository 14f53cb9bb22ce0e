// What the formats state about their entries.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sources/playlist/playlist_parser.h"
#include "sources/playlist/xspf_parser.h"

using mrb::PlaylistEntry;
using mrb::PlaylistParser;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Read {
    std::vector<std::string> targets;
    std::vector<std::string> titles;
    std::vector<std::int64_t> durations;
    bool isBroken = false;
    bool isUri = false;
};

Read readIn(const std::string &name, const std::string &text, std::size_t piece) {
    Read read;
    const auto parser = mrb::makePlaylistParser(name, [&](const PlaylistEntry &entry) {
        read.targets.emplace_back(entry.target);
        read.titles.emplace_back(entry.title);
        read.durations.push_back(entry.duration);
        read.isUri = entry.isUri;
        return true;
    });
    bool goesOn = true;
    for (std::size_t begin = 0; goesOn && begin < text.size(); begin += piece) {
        goesOn = parser->feed(std::string_view(text).substr(begin, piece));
    }
    if (goesOn) {
        parser->finish();
    }
    read.isBroken = parser->isBroken();
    return read;
}

// However the text is cut into pieces, the entries are the same.
Read read(const std::string &name, const std::string &text) {
    const Read whole = readIn(name, text, text.size() + 1);
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}}) {
        const Read cut = readIn(name, text, piece);
        EXPECT_EQ(cut.targets, whole.targets) << piece;
        EXPECT_EQ(cut.titles, whole.titles) << piece;
        EXPECT_EQ(cut.durations, whole.durations) << piece;
        EXPECT_EQ(cut.isBroken, whole.isBroken) << piece;
    }
    return whole;
}

std::string utf16(const std::u16string &text, bool isLittle) {
    std::string bytes;
    for (const char16_t unit : text) {
        const char low = static_cast<char>(unit & 0xFF);
        const char high = static_cast<char>(unit >> 8);
        bytes.append(1, isLittle ? low : high).append(1, isLittle ? high : low);
    }
    return bytes;
}

std::string xspf(const std::string &tracks) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<playlist version=\"1\" xmlns=\"http://xspf.org/ns/0/\"><title>All</title><trackList>" +
           tracks + "</trackList></playlist>\n";
}

} // namespace

TEST(PlaylistParser, IsChosenByTheExtension) {
    for (const char *name : {"a.m3u", "a.M3U8", "a.pls", "b/a.XSPF"}) {
        EXPECT_NE(mrb::makePlaylistParser(name, {}), nullptr) << name;
    }
    for (const char *name : {"a.mp3", "m3u", ".m3u", "a.m3u/b", ""}) {
        EXPECT_EQ(mrb::makePlaylistParser(name, {}), nullptr) << name;
    }
}

TEST(M3u, EveryLineOtherThanACommentIsAnEntry) {
    const Read m3u = read("a.m3u", "#EXTM3U\n a.mp3 \n\n# said\nb/c d.mp3\nhttp://h/x\n");
    EXPECT_THAT(m3u.targets, ElementsAre("a.mp3", "b/c d.mp3", "http://h/x"));
    EXPECT_FALSE(m3u.isUri);
}

TEST(M3u, LinesEndWithALineFeedACarriageReturnBothOrTheFile) {
    EXPECT_THAT(read("a.m3u", "a\r\nb\rc\n\r\nd").targets, ElementsAre("a", "b", "c", "d"));
}

TEST(M3u, AByteOrderMarkIsNotPartOfTheFirstLine) {
    EXPECT_THAT(read("a.m3u8", "\xef\xbb\xbfé.mp3\n").targets, ElementsAre("é.mp3"));
}

TEST(M3u, AnExtendedLineHasTitleAndDurationOfTheNextEntry) {
    const Read m3u =
        read("a.m3u", "#EXTINF:123,Artist - Title\n#EXTVLCOPT:x\na.mp3\nb.mp3\n#EXTINF:1.5, C\nc.mp3\n");
    EXPECT_THAT(m3u.titles, ElementsAre("Artist - Title", "", " C"));
    EXPECT_THAT(m3u.durations, ElementsAre(123'000, mrb::UNKNOWN, 1500));
}

TEST(M3u, ADurationThatCannotBeIsUnknown) {
    for (const char *seconds : {"-1", "", "x", "1e99", "nan", "inf", "99999999999999999999999"}) {
        const Read m3u = read("a.m3u", "#EXTINF:" + std::string(seconds) + ",T\na.mp3\n");
        EXPECT_THAT(m3u.durations, ElementsAre(mrb::UNKNOWN)) << seconds;
        EXPECT_THAT(m3u.titles, ElementsAre("T")) << seconds;
    }
}

TEST(M3u, CommasInQuotedAttributesAreNotTheTitles) {
    EXPECT_THAT(read("a.m3u", "#EXTINF:-1 name=\"a,b\" x=\"c\",The, Title\na\n").titles,
                ElementsAre("The, Title"));
    EXPECT_THAT(read("a.m3u", "#EXTINF:5,12\" Mix, Long\na\n").titles, ElementsAre("12\" Mix, Long"));
    EXPECT_THAT(read("a.m3u", "#EXTINF:5 x=\"y,Title\na\n").titles, ElementsAre("Title"));
    EXPECT_THAT(read("a.m3u", "#EXTINF:5\na\n").titles, ElementsAre(""));
}

TEST(M3u, ATitleThatIsNotUtf8IsWesternEuropean) {
    EXPECT_THAT(read("a.m3u", "#EXTINF:1,Caf\xe9 \x80\na\n").titles, ElementsAre("Café €"));
}

TEST(M3u, ATargetKeepsItsBytes) {
    EXPECT_THAT(read("a.m3u", "caf\xe9.mp3\n").targets, ElementsAre("caf\xe9.mp3"));
}

TEST(M3u, Utf16WithAByteOrderMarkIsReadInEitherOrder) {
    const std::u16string text =
        u"#EXTM3U\r\n#EXTINF:5,Caf\u00e9 \U0001F3B5\r\nM\u00fcsik\\\u97f3.mp3\r\nb.mp3";
    for (const bool isLittle : {true, false}) {
        for (const char *name : {"a.m3u", "a.m3u8"}) {
            const Read m3u = read(name, utf16(u"\uFEFF" + text, isLittle));
            EXPECT_THAT(m3u.targets, ElementsAre("M\u00fcsik\\\u97f3.mp3", "b.mp3"));
            EXPECT_THAT(m3u.titles, ElementsAre("Caf\u00e9 \U0001F3B5", ""));
        }
    }
}

TEST(M3u, HalvesOfUtf16AreReplacedAndZerosLeaveALineOut) {
    const std::u16string text = {0xFEFF, 'a',  0xD83C, 'b',    '\n',   0xDFB5, 'c',  '\n', 'd',   0,
                                 'e',    '\n', 'f',    0xD83C, 0xD83C, 0xDFB5, '\n', 'g',  0xD83C};
    for (const bool isLittle : {true, false}) {
        const std::string bytes = utf16(text, isLittle);
        EXPECT_THAT(read("a.m3u", bytes).targets,
                    ElementsAre("a\uFFFDb", "\uFFFDc", "f\uFFFD\U0001F3B5", "g\uFFFD"));
        EXPECT_THAT(read("a.m3u", bytes + "x").targets,
                    ElementsAre("a\uFFFDb", "\uFFFDc", "f\uFFFD\U0001F3B5", "g\uFFFD"));
    }
}

TEST(M3u, LinesOfUtf16AreBoundedAsOthers) {
    const std::string bytes = utf16(
        u"\uFEFFa\n" + std::u16string(PlaylistParser::MAX_TEXT_LENGTH / 3 + 1, u'\u97f3') + u"\nb\n", true);
    EXPECT_THAT(readIn("a.m3u", bytes, 1000).targets, ElementsAre("a", "b"));
}

TEST(M3u, TextsThatAreShorterThanAMarkAreRead) {
    EXPECT_THAT(read("a.m3u", "a").targets, ElementsAre("a"));
    EXPECT_THAT(read("a.m3u", "").targets, IsEmpty());
    EXPECT_THAT(read("a.m3u", utf16(u"\uFEFF", true)).targets, IsEmpty());
    EXPECT_THAT(read("a.m3u", "\xfe").targets, ElementsAre("\xfe"));
    EXPECT_THAT(read("a.m3u", "\xff\xfd.mp3").targets, ElementsAre("\xff\xfd.mp3"));
}

TEST(M3u, LinesWithZerosAndEndlessLinesAreLeftOut) {
    const std::string tooLong(PlaylistParser::MAX_TEXT_LENGTH + 1, 'x');
    const std::string text = std::string("a\nb\0c\nd\n", 8) + tooLong + "\n" + "e\n" + tooLong + tooLong;
    EXPECT_THAT(readIn("a.m3u", text, 1000).targets, ElementsAre("a", "d", "e"));
    EXPECT_THAT(readIn("a.m3u", text, 1 << 20).targets, ElementsAre("a", "d", "e"));
}

TEST(Pls, EntriesComeInTheOrderOfTheirNumbers) {
    const Read pls =
        read("a.pls", "[playlist]\nNumberOfEntries=3\nFile10=c\nTitle2=B\nfile2 = b.mp3\r\nLength2=61\n"
                      "FILE1=a\nTitle3=without\nVersion=2\n");
    EXPECT_THAT(pls.targets, ElementsAre("a", "b.mp3", "c"));
    EXPECT_THAT(pls.titles, ElementsAre("", "B", ""));
    EXPECT_THAT(pls.durations, ElementsAre(mrb::UNKNOWN, 61'000, mrb::UNKNOWN));
}

TEST(Pls, Utf16WithAByteOrderMarkIsRead) {
    EXPECT_THAT(read("a.pls", utf16(u"\uFEFF[playlist]\r\nFile1=\u97f3.mp3\r\n", true)).targets,
                ElementsAre("\u97f3.mp3"));
}

TEST(Pls, KeysWithoutANumberThatCanBeAreLeftOut) {
    EXPECT_THAT(
        read("a.pls", "File=a\nFile-1=b\nFile99999999999=c\nFile1x=d\nFiles1=e\n=f\nFile2=\n").targets,
        IsEmpty());
}

TEST(Pls, AnEntryHasItsEqualsSigns) {
    EXPECT_THAT(read("a.pls", "File1=http://h/?a=b\n").targets, ElementsAre("http://h/?a=b"));
}

TEST(Xspf, TracksHaveLocationTitleAndDuration) {
    const Read list =
        read("a.xspf", xspf("<track><location> a%20b.mp3 </location><title>A &amp; <![CDATA[B]]></title>"
                            "<duration>61500</duration></track><track><location>c</location></track>"));
    EXPECT_THAT(list.targets, ElementsAre("a%20b.mp3", "c"));
    EXPECT_THAT(list.titles, ElementsAre("A & B", ""));
    EXPECT_THAT(list.durations, ElementsAre(61'500, mrb::UNKNOWN));
    EXPECT_TRUE(list.isUri);
    EXPECT_FALSE(list.isBroken);
}

TEST(Xspf, PrefixesDoNotMatter) {
    EXPECT_THAT(read("a.xspf", "<x:playlist xmlns:x='http://xspf.org/ns/0/'><x:trackList><x:track>"
                               "<x:location>a</x:location></x:track></x:trackList></x:playlist>")
                    .targets,
                ElementsAre("a"));
}

TEST(Xspf, TheFirstOfSeveralLocationsCounts) {
    EXPECT_THAT(read("a.xspf", xspf("<track><location>a</location><location>b</location></track>"
                                    "<track><location>c</location></track>"))
                    .targets,
                ElementsAre("a", "c"));
}

TEST(Xspf, ElementsOutsideOfATrackAreIgnored) {
    EXPECT_THAT(read("a.xspf", xspf("<location>x</location><track><extension><location>y</location><track>"
                                    "<location>z</location></track></extension><title>t</title></track>"))
                    .targets,
                IsEmpty());
}

TEST(Xspf, Latin1IsUnderstood) {
    const Read list =
        read("a.xspf", "<?xml version='1.0' encoding='ISO-8859-1'?><playlist><trackList><track>"
                       "<location>a</location><title>Caf\xe9</title></track></trackList></playlist>");
    EXPECT_THAT(list.titles, ElementsAre("Café"));
}

TEST(Xspf, LocationsAreRelativeToTheBasesAroundThem) {
    const auto based = [](const std::string &list, const std::string &track, const std::string &location) {
        return "<playlist xml:base='" + list + "'><trackList><track xml:base='" + track + "'><location>" +
               location + "</location></track></trackList></playlist>";
    };
    const struct {
        const char *list;
        const char *track;
        const char *location;
        const char *target;
    } cases[] = {
        {"Music/", "", "a.mp3", "Music/a.mp3"},
        {"Music/", "live/", "a.mp3", "Music/live/a.mp3"},
        {"Music/", "../", "../a.mp3", "Music/../../a.mp3"},
        {"Music/p.xspf", "live", "a.mp3", "Music/a.mp3"},
        {"Music/", "/Other/", "a.mp3", "/Other/a.mp3"},
        {"Music/", "", "/a.mp3", "/a.mp3"},
        {" Music/ ", "", " a.mp3 ", "Music/a.mp3"},
        {"Music\\", "live\\", "a.mp3", "Music\\live\\a.mp3"},
        {"E:\\Music\\", "", "a.mp3", "E:\\Music\\a.mp3"},
        {"E:\\Music\\", "", "\\a.mp3", "E:\\a.mp3"},
        {"Music/", "E:/", "a.mp3", "E:/a.mp3"},
        {"file:///Music/x", "", "a.mp3", "file:///Music/a.mp3"},
        {"file:///Music/x", "", "/a.mp3", "file:///a.mp3"},
        {"file:Music/", "live/", "a.mp3", "file:Music/live/a.mp3"},
        {"file://host", "", "a.mp3", "file://hosta.mp3"},
        {"Music/", "", "file:///a.mp3", "file:///a.mp3"},
        {"Music/", "", "http://h/a.mp3", "http://h/a.mp3"},
        {"http://h:80/m/list?x=/y#z", "", "a%20b.mp3", "http://h:80/m/a%20b.mp3"},
        {"http://h/m/", "../n/", "../../o/a.mp3?q", "http://h/o/a.mp3?q"},
        {"http://h", "", "a.mp3", "http://h/a.mp3"},
        {"http://h/m/", "", "//other/a.mp3", "http://other/a.mp3"},
    };
    for (const auto &[list, track, location, target] : cases) {
        const Read xml = read("a.xspf", based(list, track, location));
        EXPECT_THAT(xml.targets, ElementsAre(target)) << list << " " << track << " " << location;
        EXPECT_TRUE(xml.isUri);
    }
}

TEST(Xspf, ABaseHoldsForItsElementOnly) {
    EXPECT_THAT(
        read("a.xspf", xspf("<track xml:base='1/'><title xml:base='2/'/><location xml:base='3/'>a</location>"
                            "<location xml:base='4/'>b</location></track>"
                            "<extension xml:base='5/'/><track><location>c</location></track>"))
            .targets,
        ElementsAre("1/3/a", "c"));
    EXPECT_THAT(read("a.xspf", "<playlist><trackList xml:base='6/'><track><location>a</location></track>"
                               "</trackList></playlist>")
                    .targets,
                ElementsAre("6/a"));
}

TEST(Xspf, ATrackWithoutALocationHasNoneByItsBase) {
    const Read list = read("a.xspf", xspf("<track xml:base='a.mp3'><location/><title>t</title></track>"));
    EXPECT_THAT(list.targets, IsEmpty());
    EXPECT_FALSE(list.isBroken);
}

TEST(Xspf, ABaseThatIsLongerThanAnyPathIsRefused) {
    const std::string longest(mrb::XspfParser::MAX_BASE_LENGTH - 1, 'x');
    const std::string location = "<location>a</location></track>";
    EXPECT_THAT(read("a.xspf", xspf("<track xml:base='" + longest + "/'>" + location)).targets,
                ElementsAre(longest + "/a"));
    const Read list = read("a.xspf", xspf("<track xml:base='" + longest + "x/'>" + location));
    EXPECT_THAT(list.targets, IsEmpty());
    EXPECT_TRUE(list.isBroken);
}

TEST(Xspf, AnAddressThatIsTooLongWithItsBaseIsLeftOut) {
    const std::string tooLong(PlaylistParser::MAX_TEXT_LENGTH - 1, 'x');
    const Read list = readIn("a.xspf",
                             xspf("<track xml:base='bb/'><location>" + tooLong +
                                  "</location></track><track><location>a</location></track>"),
                             1 << 16);
    EXPECT_THAT(list.targets, ElementsAre("a"));
    EXPECT_FALSE(list.isBroken);
}

TEST(Xspf, AnAddressThatIsInvalidWithItsBaseIsLeftOut) {
    EXPECT_THAT(
        read("a.xspf", xspf("<track xml:base='http://h:port/'><location>a</location></track>")).targets,
        IsEmpty());
}

TEST(Xspf, WhatCameBeforeADefectCounts) {
    const Read list = read("a.xspf", "<playlist><trackList><track><location>a</location></track><track><loc");
    EXPECT_THAT(list.targets, ElementsAre("a"));
    EXPECT_TRUE(list.isBroken);
}

TEST(Xspf, ADocumentTypeIsRefusedAndSoAreItsEntities) {
    const Read list =
        read("a.xspf", "<!DOCTYPE playlist [<!ENTITY a SYSTEM 'file:///etc/passwd'>]>"
                       "<playlist><trackList><track><location>&a;</location></track></trackList></playlist>");
    EXPECT_THAT(list.targets, IsEmpty());
    EXPECT_TRUE(list.isBroken);
}

TEST(Xspf, AnotherKindOfDocumentIsBroken) {
    EXPECT_TRUE(read("a.xspf", "<html><body/></html>").isBroken);
    EXPECT_TRUE(read("a.xspf", "").isBroken);
}

TEST(Xspf, DeepNestingAndEndlessTagsAreRefused) {
    std::string deep;
    for (int level = 0; level < 100'000; ++level) {
        deep += "<a>";
    }
    EXPECT_TRUE(readIn("a.xspf", xspf(deep), 1 << 16).isBroken);
    std::string attributes = "<track";
    for (int number = 0; number < 1'000'000; ++number) {
        attributes += " a" + std::to_string(number) + "='>'";
    }
    EXPECT_TRUE(readIn("a.xspf", xspf(attributes), 1 << 16).isBroken);
    EXPECT_TRUE(readIn("a.xspf", xspf("<!--" + std::string(10 << 20, 'x')), 1 << 16).isBroken);
}

TEST(Xspf, ALocationThatIsTooLongIsLeftOut) {
    const std::string tooLong(PlaylistParser::MAX_TEXT_LENGTH + 1, 'x');
    EXPECT_THAT(readIn("a.xspf",
                       xspf("<track><location>" + tooLong +
                            "</location></track><track><location>a"
                            "</location></track>"),
                       1 << 16)
                    .targets,
                ElementsAre("a"));
}

TEST(PlaylistParser, StopsWhenNoMoreIsWanted) {
    const std::pair<const char *, std::string> texts[] = {
        {"a.m3u", "a\nb\nc\n"},
        {"a.pls", "File1=a\nFile2=b\n"},
        {"a.xspf", xspf("<track><location>a</location></track><track><location>b</location></track>")},
    };
    for (const auto &[name, text] : texts) {
        int entries = 0;
        const auto parser =
            mrb::makePlaylistParser(name, [&](const PlaylistEntry &) { return ++entries < 1; });
        if (parser->feed(text)) {
            parser->finish();
        }
        EXPECT_EQ(entries, 1) << name;
        EXPECT_FALSE(parser->isBroken()) << name;
    }
}
