#include "choose_sink.h"
#include "stderr_sink.h"
#include "support.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace {

using namespace systemlog;

class ChooseSink : public testing::Test {
  protected:
    [[nodiscard]] std::unique_ptr<Sink> choose(const char *choice) const {
        return chooseSink(choice, {journal.c_str(), syslog.c_str()});
    }
    TemporaryFolder folder;
    std::string journal = folder.path("journal");
    std::string syslog = folder.path("log");
};

TEST_F(ChooseSink, isNullOnAMachineWithoutALog) { EXPECT_EQ(choose(nullptr), nullptr); }

TEST_F(ChooseSink, prefersTheJournal) {
    const Listener first(journal, SOCK_DGRAM);
    const Listener second(syslog, SOCK_DGRAM);
    EXPECT_NE(dynamic_cast<JournalSink *>(choose("system").get()), nullptr);
}

TEST_F(ChooseSink, takesSyslogWithoutAJournal) {
    const Listener daemon(syslog, SOCK_DGRAM);
    EXPECT_NE(dynamic_cast<SyslogSink *>(choose("system").get()), nullptr);
    EXPECT_NE(dynamic_cast<SyslogSink *>(choose("").get()), nullptr);
    EXPECT_NE(dynamic_cast<SyslogSink *>(choose(nullptr).get()), nullptr);
}

TEST_F(ChooseSink, takesAnUnknownChoiceAsTheDefault) {
    const Listener daemon(syslog, SOCK_DGRAM);
    testing::internal::CaptureStderr();
    EXPECT_NE(dynamic_cast<SyslogSink *>(choose("STDERR").get()), nullptr);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("\"STDERR\""), std::string::npos);
}

TEST_F(ChooseSink, isStandardErrorWhateverElseListens) {
    const Listener daemon(syslog, SOCK_DGRAM);
    EXPECT_NE(dynamic_cast<StderrSink *>(choose("stderr").get()), nullptr);
}

TEST_F(ChooseSink, isNullWhenSwitchedOff) {
    const Listener daemon(syslog, SOCK_DGRAM);
    EXPECT_EQ(choose("off"), nullptr);
}

} // namespace
