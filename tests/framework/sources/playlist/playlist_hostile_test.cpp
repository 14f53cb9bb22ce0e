// Playlists are untrusted: reading one ends, within bounds, whatever it contains.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "mrb/agent.h"
#include "sources/playlist/playlist_reader.h"
#include "sources/playlist/xspf_parser.h"
#include "sources/source.h"
#include "support/client.h"
#include "support/counting_sink.h"
#include "support/folder.h"
#include "support/playlists.h"

using mrb::PlaylistReader;
using support::Client;
using support::CountingSink;
using support::Event;
using support::Folder;
using support::playlist;
using support::writeText;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

Event listOf(Client &client, const Folder &folder, const std::string &name) {
    const Event end = client.list(playlist(folder.path(name)));
    EXPECT_EQ(end.event, MRB_EVENT_LIST_READY) << end.data.toStyledString();
    return end;
}

int fill(const std::string &path, mrb::ItemSink &sink) {
    mrb::ListRequest request;
    request.source = "SOURCE_PLAYLIST";
    request.prepareData = path;
    std::unique_ptr<mrb::Source> source;
    EXPECT_EQ(mrb::makeSource(request, source).code, MRB_ERR_NONE);
    return source->fill(sink).status.code;
}

} // namespace

TEST(HostilePlaylist, OneThatHoldsItselfEnds) {
    const Folder folder;
    folder.file("a.mp3");
    writeText(folder, "p.m3u", "a.mp3\np.m3u\n./p.m3u\n");
    folder.link(folder.path("p.m3u"), "q.m3u");
    Client client;
    listOf(client, folder, "p.m3u");
    EXPECT_THAT(client.all("name"), ElementsAre("a.mp3", "p.m3u", "p.m3u"));
    ASSERT_EQ(mrb_move_to_index_v2(client.handle, 1), MRB_ERR_NONE);
    EXPECT_EQ(mrb_set_navigation_v2(client.handle, MRB_NAVIGATION_ENTER), MRB_ERR_NOT_A_FOLDER);
}

TEST(HostilePlaylist, TwoThatHoldEachOtherEnd) {
    const Folder folder;
    writeText(folder, "p.m3u", "q.pls\n");
    writeText(folder, "q.pls", "File1=p.m3u\n");
    Client client;
    listOf(client, folder, "p.m3u");
    EXPECT_THAT(client.all("name"), ElementsAre("q.pls", "p.m3u"));
}

TEST(HostilePlaylist, ALongChainIsReadToADepth) {
    const Folder folder;
    for (int number = 0; number < 100; ++number) {
        writeText(folder, std::to_string(number) + ".m3u", std::to_string(number + 1) + ".m3u\n");
    }
    Client client;
    const Event end = listOf(client, folder, "0.m3u");
    EXPECT_EQ(client.count(), static_cast<int>(PlaylistReader::MAX_LEVEL) + 1);
    EXPECT_EQ(end.data["too_deep"], 1);
}

TEST(HostilePlaylist, PlaylistsThatMultiplyEachOtherAreReadToANumber) {
    const Folder folder;
    for (int level = 0; level < 8; ++level) {
        std::string text;
        for (int number = 0; number < 100; ++number) {
            text += std::to_string(level + 1) + ".m3u\n";
        }
        writeText(folder, std::to_string(level) + ".m3u", text);
    }
    folder.file("8.m3u");
    Client client;
    const Event end = listOf(client, folder, "0.m3u");
    EXPECT_LE(client.count(), 100 * (PlaylistReader::MAX_NESTED + 1));
    EXPECT_GT(end.data["unreadable"].asInt(), 0);
}

TEST(HostilePlaylist, AMillionLinesAreReadToANumber) {
    const Folder folder;
    std::string text;
    for (int number = 0; number < 1'000'000; ++number) {
        text += std::to_string(number) + ".mp3\n";
    }
    writeText(folder, "p.m3u", text);
    Client client;
    const Event end = listOf(client, folder, "p.m3u");
    EXPECT_EQ(client.count(), PlaylistReader::MAX_ENTRIES);
    EXPECT_EQ(end.data["unreadable"], 1);
}

TEST(HostilePlaylist, AMillionLinesWithoutEntriesAreReadToTheEnd) {
    const Folder folder;
    folder.file("a.mp3");
    std::string text;
    for (int number = 0; number < 1'000'000; ++number) {
        text += "#\n\n";
    }
    writeText(folder, "p.m3u", text + "a.mp3\n");
    Client client;
    EXPECT_EQ(listOf(client, folder, "p.m3u").data["unreadable"], 0);
    EXPECT_EQ(client.count(), 1);
}

TEST(HostilePlaylist, AFileThatIsTooLongIsReadToALength) {
    const Folder folder;
    writeText(folder, "p.pls", "File1=http://h/a.mp3\n");
    std::filesystem::resize_file(folder.path("p.pls"), PlaylistReader::MAX_BYTES + 1);
    Client client;
    EXPECT_EQ(listOf(client, folder, "p.pls").data["unreadable"], 1);
    EXPECT_EQ(client.count(), 1);
}

TEST(HostilePlaylist, LinesOfMegabytesAndZerosAreLeftOut) {
    const Folder folder;
    folder.file("a.mp3");
    writeText(folder, "p.m3u",
              std::string(5 << 20, 'x') + ".mp3\n" + std::string("a\0.mp3\n", 7) + std::string(100, '\0') +
                  "\na.mp3\n");
    Client client;
    listOf(client, folder, "p.m3u");
    EXPECT_THAT(client.all("name"), ElementsAre("a.mp3"));
}

TEST(HostilePlaylist, NamesOfAnyLengthAndAnyBytesAreHarmless) {
    const Folder folder;
    std::string text = std::string(60'000, 'n') + ".mp3\n" + std::string(30'000, '/') + ".mp3\n";
    for (int number = 0; number < 10'000; ++number) {
        text += "../";
    }
    text += "a.mp3\n\xff\xfe\x01.mp3\nhttp://h/" + std::string(100'000, 'u') + "\n";
    writeText(folder, "p.m3u", text);
    Client client;
    listOf(client, folder, "p.m3u");
    EXPECT_EQ(client.count(), 3);
    EXPECT_THAT(support::found(client), IsEmpty());
    for (int index = 0; index < client.count(); ++index) {
        EXPECT_FALSE(client.item(index)["url"].asString().empty());
    }
}

TEST(HostilePlaylist, BrokenXmlCountsAsUnreadableAndKeepsWhatCameBefore) {
    const Folder folder;
    folder.file("a.mp3");
    writeText(folder, "p.xspf", "<playlist><trackList><track><location>a.mp3</location></track></trackLIST>");
    Client client;
    EXPECT_EQ(listOf(client, folder, "p.xspf").data["unreadable"], 1);
    EXPECT_THAT(client.all("name"), ElementsAre("a.mp3"));
}

TEST(HostilePlaylist, AnEntityBombIsRefusedBeforeItGrows) {
    const Folder folder;
    std::string text = "<!DOCTYPE playlist [<!ENTITY a0 'aaaaaaaaaa'>";
    for (int level = 1; level < 30; ++level) {
        const std::string before = "&a" + std::to_string(level - 1) + ";";
        text += "<!ENTITY a" + std::to_string(level) + " '";
        for (int copy = 0; copy < 10; ++copy) {
            text += before;
        }
        text += "'>";
    }
    writeText(folder, "p.xspf", text + "]><playlist><title>&a29;</title></playlist>");
    Client client;
    EXPECT_EQ(listOf(client, folder, "p.xspf").data["unreadable"], 1);
    EXPECT_EQ(client.count(), 0);
}

TEST(HostilePlaylist, BasesLeadNoFurtherThanPathsDo) {
    const Folder folder;
    folder.file("secret.mp3");
    folder.file("stick/sub/a.mp3");
    for (const std::string &base :
         {std::string("../"), std::string("sub/../../"), "file://" + folder.path() + "/", folder.path() + "/",
          std::string("..\\"), std::string("%2e%2e/")}) {
        writeText(folder, "stick/p.xspf",
                  "<playlist xml:base='" + base +
                      "'><trackList><track><location>secret.mp3</location></track>" +
                      "</trackList></playlist>");
        Client client;
        listOf(client, folder, "stick/p.xspf");
        EXPECT_THAT(support::found(client), IsEmpty()) << base;
        ASSERT_EQ(client.count(), 1) << base;
        EXPECT_TRUE(client.item(0)["size"].isNull()) << base;
    }
}

TEST(HostilePlaylist, AHundredThousandLongBasesAreRead) {
    const Folder folder;
    folder.file("a.mp3");
    const std::string base(mrb::XspfParser::MAX_BASE_LENGTH - 1, 'x');
    std::string text = "<playlist xml:base='" + base + "/'><trackList xml:base='" + base + "/'>";
    for (int number = 0; number < 100'000; ++number) {
        text += "<track xml:base='b/'/>";
    }
    writeText(folder, "p.xspf",
              text + "<track xml:base='" + folder.path() + "/'><location>a.mp3</location></track>" +
                  "</trackList></playlist>");
    Client client;
    EXPECT_EQ(listOf(client, folder, "p.xspf").data["unreadable"], 0);
    EXPECT_THAT(support::found(client), ElementsAre("a.mp3"));
}

TEST(HostilePlaylist, RandomBytesAreHarmless) {
    const Folder folder;
    std::minstd_rand random(7);
    const std::string pieces[] = {"\n", "\r",      "#EXTINF:", ",",        "File",
                                  "1",  "=",       "<track>",  "</track>", "<location>",
                                  "&",  "%",       "..",       "/",        "\\",
                                  "C:", "file://", "http://",  ".mp3",     ".m3u",
                                  "p",  "\0",      "\xff",     "é",        "<track xml:base='../'>"};
    for (int round = 0; round < 300; ++round) {
        std::string text = round % 3 == 2   ? "<playlist xml:base='b/'><trackList>"
                           : round % 2 == 0 ? "\xff\xfe"
                                            : "";
        for (int piece = 0; piece < 200; ++piece) {
            text += pieces[random() % std::size(pieces)];
        }
        const char *names[] = {"p.m3u", "p.pls", "p.xspf"};
        writeText(folder, names[round % 3], text);
        CountingSink sink(INT64_MAX);
        EXPECT_EQ(fill(folder.path(names[round % 3]), sink), MRB_ERR_NONE);
    }
}

TEST(HostilePlaylist, ReadingChecksForEachEntryAndDoesNothingMoreOnceItIsCancelled) {
    const Folder folder;
    for (const std::string format : {"m3u", "pls", "xspf"}) {
        std::string text = format == "xspf" ? "<playlist><trackList>" : "";
        for (int number = 0; number < 2000; ++number) {
            const std::string name = std::to_string(number) + ".mp3";
            text += format == "m3u"   ? name + "\n"
                    : format == "pls" ? "File" + std::to_string(number) + "=" + name + "\n"
                                      : "<track><location>" + name + "</location></track>";
        }
        const std::string path = "p." + format;
        writeText(folder, path, text + (format == "xspf" ? "</trackList></playlist>" : ""));
        CountingSink whole(INT64_MAX);
        EXPECT_EQ(fill(folder.path(path), whole), MRB_ERR_NONE);
        EXPECT_EQ(whole.items, 2000);
        EXPECT_GE(whole.checks, whole.items);
        std::minstd_rand random(5);
        for (int round = 0; round < 20; ++round) {
            const std::int64_t last = random() % static_cast<std::uint64_t>(whole.checks);
            CountingSink sink(last);
            EXPECT_EQ(fill(folder.path(path), sink), MRB_ERR_CANCELLED);
            EXPECT_FALSE(sink.late);
            EXPECT_LE(sink.checks, last + 4);
        }
    }
}
