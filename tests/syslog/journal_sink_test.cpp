// libsystemd sends to one fixed address. This program stands in its way to the
// kernel and turns that address into a socket of the test's own, so that all
// of libsystemd runs and no journal of the machine is written to.

#include "journal_sink.h"
#include "support.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
std::string diversion;
} // namespace

extern "C" __attribute__((visibility("default"))) ssize_t sendmsg(int socket, const msghdr *message,
                                                                  int flags) {
    msghdr diverted = *message;
    sockaddr_un address{};
    const auto *given = static_cast<const sockaddr_un *>(message->msg_name);
    if (given != nullptr && given->sun_family == AF_UNIX &&
        std::string_view(given->sun_path) == systemlog::journalSocket) {
        address.sun_family = AF_UNIX;
        diversion.copy(address.sun_path, sizeof address.sun_path - 1);
        diverted.msg_name = &address;
        diverted.msg_namelen = sizeof address;
    }
    return syscall(SYS_sendmsg, socket, &diverted, flags);
}

namespace {

class JournalSinkTest : public testing::Test {
  protected:
    JournalSinkTest() : folder(), journal(folder.path("journal"), SOCK_DGRAM) {
        diversion = folder.path("journal");
    }
    TemporaryFolder folder;
    Listener journal;
    systemlog::JournalSink sink;
};

/// A field that holds line feeds: name, line feed, 64-bit little-endian length,
/// value (the journal's native protocol).
std::string binaryField(const std::string &name, const std::string &value) {
    std::string field = name + "\n";
    for (unsigned byte = 0; byte < 8; ++byte) {
        field += static_cast<char>(value.size() >> (8U * byte) & 0xFFU);
    }
    return field + value + "\n";
}

TEST_F(JournalSinkTest, sendsTagPriorityAndText) {
    sink.write(5, "TAG", "text");
    EXPECT_EQ(journal.datagram(), "SYSLOG_IDENTIFIER=TAG\nPRIORITY=5\nMESSAGE=text\n");
}

TEST_F(JournalSinkTest, keepsLineFeeds) {
    sink.write(3, "TAG", "one\ntwo");
    EXPECT_EQ(journal.datagram(), "SYSLOG_IDENTIFIER=TAG\nPRIORITY=3\n" + binaryField("MESSAGE", "one\ntwo"));
}

TEST_F(JournalSinkTest, sendsTenMegabytesWholeInAFile) {
    const std::string text = pattern(10'000'000);
    sink.write(5, "TAG", text);
    EXPECT_TRUE(journal.passedFile() == "SYSLOG_IDENTIFIER=TAG\nPRIORITY=5\nMESSAGE=" + text + "\n");
}

TEST_F(JournalSinkTest, dropsTheEntryWhenTheJournalIsGone) {
    journal.stop();
    sink.write(5, "TAG", "text");
    Listener next(diversion, SOCK_DGRAM);
    sink.write(5, "TAG", "next");
    EXPECT_EQ(next.datagram(), "SYSLOG_IDENTIFIER=TAG\nPRIORITY=5\nMESSAGE=next\n");
}

} // namespace
