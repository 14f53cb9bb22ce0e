#include "support.h"
#include "syslog_sink.h"

#include <gtest/gtest.h>
#include <regex>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

using systemlog::SyslogSink;

/// The text after "<pri>time tag[pid]: " and "(i/n) ".
std::string bare(const std::string &packet) {
    static const std::regex prefix(R"(^<\d+>\w{3} [ \d]\d \d\d:\d\d:\d\d [^\[]*\[\d+\]: (\(\d+/\d+\) )?)");
    std::smatch match;
    EXPECT_TRUE(std::regex_search(packet, match, prefix)) << packet;
    return match.suffix();
}

TEST(SyslogSink, isNullWhenNoDaemonListens) {
    const TemporaryFolder folder;
    EXPECT_EQ(SyslogSink::open(folder.path("log").c_str()), nullptr);
}

TEST(SyslogSink, isNullForAPathThatNoSocketCanHave) {
    EXPECT_EQ(SyslogSink::open(std::string(500, 'x').c_str()), nullptr);
}

TEST(SyslogSink, sendsALineInTheTraditionalForm) {
    const TemporaryFolder folder;
    Listener daemon(folder.path("log"), SOCK_DGRAM);
    SyslogSink::open(folder.path("log").c_str())->write(5, "TAG", "text");
    const std::string line = daemon.datagram();
    // Facility 1 (user), severity 5: 1 * 8 + 5.
    const std::regex form(
        R"(<13>(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 123]\d \d\d:\d\d:\d\d TAG\[)" +
        std::to_string(getpid()) + R"(\]: text)");
    EXPECT_TRUE(std::regex_match(line, form)) << line;
}

TEST(SyslogSink, keepsOnlyTheTagsFirst32Characters) {
    const TemporaryFolder folder;
    Listener daemon(folder.path("log"), SOCK_DGRAM);
    SyslogSink::open(folder.path("log").c_str())->write(5, std::string(5000, 't').c_str(), "text");
    EXPECT_NE(daemon.datagram().find(" " + std::string(32, 't') + "["), std::string::npos);
}

TEST(SyslogSink, sendsALongLineInNumberedPiecesThatMakeUpTheWholeText) {
    const TemporaryFolder folder;
    Listener daemon(folder.path("log"), SOCK_DGRAM);
    const std::string text = pattern(1'000'000);
    std::thread writer([&] { SyslogSink::open(folder.path("log").c_str())->write(5, "TAG", text); });
    std::string whole;
    for (int number = 1; whole.size() < text.size() && !HasFailure(); ++number) {
        const std::string piece = daemon.datagram();
        EXPECT_LE(piece.size(), 1024U);
        EXPECT_NE(piece.find(std::string("(").append(std::to_string(number)) + "/"), std::string::npos)
            << piece;
        whole += bare(piece);
    }
    writer.join();
    EXPECT_TRUE(whole == text);
}

TEST(SyslogSink, doesNotCutInsideACharacter) {
    const TemporaryFolder folder;
    Listener daemon(folder.path("log"), SOCK_DGRAM);
    std::string text;
    while (text.size() < 5000) {
        text += "x\u20ac\U0001F3B5";
    }
    SyslogSink::open(folder.path("log").c_str())->write(5, "TAG", text);
    std::string whole;
    while (whole.size() < text.size() && !HasFailure()) {
        const std::string piece = bare(daemon.datagram());
        EXPECT_NE(static_cast<unsigned char>(piece.front()) & 0xC0U, 0x80U);
        whole += piece;
    }
    EXPECT_EQ(whole, text);
}

TEST(SyslogSink, cutsBytesThatAreNotCharactersAnywhere) {
    const TemporaryFolder folder;
    Listener daemon(folder.path("log"), SOCK_DGRAM);
    const std::string text(5000, '\x80');
    SyslogSink::open(folder.path("log").c_str())->write(5, "TAG", text);
    std::string whole;
    while (whole.size() < text.size() && !HasFailure()) {
        whole += bare(daemon.datagram());
    }
    EXPECT_EQ(whole, text);
}

TEST(SyslogSink, endsEachMessageOfAStreamWithAZero) {
    const TemporaryFolder folder;
    Listener daemon(folder.path("log"), SOCK_STREAM);
    auto sink = SyslogSink::open(folder.path("log").c_str());
    ASSERT_NE(sink, nullptr);
    sink->write(5, "TAG", "one");
    sink->write(5, "TAG", "two");
    sink.reset();
    const std::string stream = daemon.wholeStream();
    const size_t end = stream.find('\0');
    EXPECT_EQ(bare(stream.substr(0, end)), "one");
    EXPECT_EQ(bare(stream.substr(end + 1)), std::string("two\0", 4));
}

TEST(SyslogSink, reconnectsToADaemonThatWasRestarted) {
    const TemporaryFolder folder;
    Listener daemon(folder.path("log"), SOCK_DGRAM);
    const auto sink = SyslogSink::open(folder.path("log").c_str());
    sink->write(5, "TAG", "before");
    daemon.stop();
    sink->write(5, "TAG", "lost");
    Listener next(folder.path("log"), SOCK_DGRAM);
    sink->write(5, "TAG", "after");
    EXPECT_EQ(bare(next.datagram()), "after");
}

TEST(SyslogSink, piecesOfThreadsDoNotMix) {
    const TemporaryFolder folder;
    Listener daemon(folder.path("log"), SOCK_DGRAM);
    const auto sink = SyslogSink::open(folder.path("log").c_str());
    const auto speakLong = [&](char letter) {
        for (int i = 0; i < 20; ++i) {
            sink->write(5, "TAG", std::string(5000, letter));
        }
    };
    std::thread first(speakLong, 'a');
    std::thread second(speakLong, 'b');
    for (int line = 0; line < 40 && !HasFailure(); ++line) {
        std::string whole;
        while (whole.size() < 5000 && !HasFailure()) {
            whole += bare(daemon.datagram());
        }
        EXPECT_EQ(whole, std::string(5000, whole.front()));
    }
    first.join();
    second.join();
}

} // namespace
