// Locks on files that several processes use.

#include "base/file_lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <future>

#include "base/descriptor.h"
#include "support/client.h"
#include "support/folder.h"

namespace {

using mrb::Descriptor;
using mrb::lockFile;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

class FileLock : public testing::Test {
  protected:
    [[nodiscard]] Descriptor openFile() const {
        return Descriptor(open(folder_.path("lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    }
    static steady_clock::time_point inTime() { return steady_clock::now() + support::LIMIT; }
    static constexpr milliseconds INTERVAL{1};

  private:
    support::Folder folder_;
};

TEST_F(FileLock, IsTakenWhereNoOtherHoldsIt) {
    const Descriptor file = openFile();
    EXPECT_EQ(lockFile(file.fd(), steady_clock::now(), INTERVAL), 0);
}

TEST_F(FileLock, IsRefusedAtTheDeadlineWhileAnotherHoldsIt) {
    const Descriptor holder = openFile();
    const Descriptor file = openFile();
    ASSERT_EQ(lockFile(holder.fd(), inTime(), INTERVAL), 0);
    EXPECT_EQ(lockFile(file.fd(), steady_clock::now(), INTERVAL), EWOULDBLOCK);
    EXPECT_EQ(lockFile(file.fd(), steady_clock::now() + milliseconds(20), INTERVAL), EWOULDBLOCK);
}

TEST_F(FileLock, IsTakenOnceTheOtherUnlocksIt) {
    const Descriptor holder = openFile();
    const Descriptor file = openFile();
    ASSERT_EQ(lockFile(holder.fd(), inTime(), INTERVAL), 0);
    auto waiting = std::async(std::launch::async, [&] { return lockFile(file.fd(), inTime(), INTERVAL); });
    mrb::unlockFile(holder.fd());
    EXPECT_EQ(waiting.get(), 0);
}

TEST_F(FileLock, IsReleasedWithItsDescriptor) {
    const Descriptor file = openFile();
    {
        const Descriptor holder = openFile();
        ASSERT_EQ(lockFile(holder.fd(), inTime(), INTERVAL), 0);
    }
    EXPECT_EQ(lockFile(file.fd(), steady_clock::now(), INTERVAL), 0);
}

TEST_F(FileLock, ReturnsWhyAFileCannotBeLocked) { EXPECT_EQ(lockFile(-1, inTime(), INTERVAL), EBADF); }

} // namespace
