// The form of a log line.

#include "log.h"

#include <thread>

#include <sys/wait.h>
#include <unistd.h>

#include "engine_fixture.h"

namespace {

TEST_F(EngineTest, LogLineNamesFileFunctionLineAndThread) {
    const int line = __LINE__ + 1;
    MRB_LOG(MRBBridge::LogTag::Common, "text[%s] number[%d]", "a%s", 5);
    const std::vector<recording::LogLine> lines = recording::logLines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].log_id, 0);
    EXPECT_EQ(lines[0].priority, 5);
    EXPECT_EQ(lines[0].tag, "MRB-BRIDGE-COMMON");
    const std::string number = std::to_string(line);
    EXPECT_EQ(lines[0].text, "log_test.cpp: TestBody(" + number + ") > \033[31m[TestBody:" + number +
                                 "] [Thread Id:[" + std::to_string(MRBBridge::ThreadId()) +
                                 "]] text[a%s] number[5]\033[0m");
}

TEST_F(EngineTest, LogLineNamesTheThreadThatLogs) {
    int other = 0;
    std::thread([&other] {
        other = MRBBridge::ThreadId();
        MRB_LOG(MRBBridge::LogTag::Agent, "from a thread");
    }).join();
    EXPECT_NE(other, MRBBridge::ThreadId());
    const std::string expected = "[Thread Id:[" + std::to_string(other) + "]] from a thread\033[0m";
    EXPECT_NE(recording::logLines().at(0).text.find(expected), std::string::npos);
}

TEST_F(EngineTest, LogLineOfAForkedChildNamesTheChildsThread) {
    static_cast<void>(MRBBridge::ThreadId());
    const pid_t child = fork();
    if (child == 0) {
        _exit(MRBBridge::ThreadId() == getpid() ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST_F(EngineTest, HandlesReadAlikeWhateverTheSizeOfAPointer) {
    EXPECT_EQ(MRBBridge::HandlePointer(0), nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(MRBBridge::HandlePointer(-1)), 0xffffffffU);
}

} // namespace
