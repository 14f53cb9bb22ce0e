// The copy of one file's bytes, in each of its ways.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>

#include "base/descriptor.h"
#include "share/file_copy.h"
#include "support/folder.h"
#include "support/sharing.h"

using support::Folder;

TEST(FileCopier, EveryWayCopiesTheSameBytes) {
    const Folder folder;
    for (const std::size_t size : {0UL, 1UL, 4096UL, (1UL << 20) - 1, (1UL << 20) + 1, 40'000'000UL}) {
        support::writeNoise(folder.path("from"), size, static_cast<unsigned>(size));
        for (const auto strategy :
             {mrb::FileCopier::RANGE, mrb::FileCopier::SEND, mrb::FileCopier::READ_WRITE}) {
            const mrb::Descriptor from(::open(folder.path("from").c_str(), O_RDONLY | O_CLOEXEC));
            const mrb::Descriptor to(
                ::open(folder.path("to").c_str(), O_CREAT | O_TRUNC | O_RDWR | O_CLOEXEC, 0600));
            mrb::FileCopier copier;
            copier.beginWith(strategy);
            std::uint64_t last = 0;
            const mrb::CopyResult end =
                copier.copy(from.fd(), "from", to.fd(), size, [&](std::uint64_t bytes) {
                    EXPECT_GT(bytes, last);
                    last = bytes;
                    return true;
                });
            EXPECT_TRUE(end.isWhole());
            EXPECT_EQ(end.bytes, size);
            EXPECT_EQ(last, size);
            EXPECT_TRUE(support::areEqual(folder.path("from"), folder.path("to"))) << strategy << " " << size;
        }
    }
}

TEST(FileCopier, ReturnsTheSideThatFailed) {
    const Folder folder;
    folder.file("from", 1000);
    for (const auto strategy : {mrb::FileCopier::RANGE, mrb::FileCopier::SEND, mrb::FileCopier::READ_WRITE}) {
        const auto copy = [&](int from, int to, std::uint64_t size) {
            mrb::FileCopier copier;
            copier.beginWith(strategy);
            return copier.copy(from, "from", to, size, [](std::uint64_t /*bytes*/) { return true; });
        };
        const mrb::Descriptor from(::open(folder.path("from").c_str(), O_RDONLY | O_CLOEXEC));
        const mrb::Descriptor to(
            ::open(folder.path("to").c_str(), O_CREAT | O_TRUNC | O_RDWR | O_CLOEXEC, 0600));
        const mrb::Descriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
        const mrb::CopyResult shorter = copy(from.fd(), to.fd(), 1001);
        EXPECT_EQ(shorter.source.code, MRB_ERR_IO);
        EXPECT_EQ(shorter.source.message, "from: the file became shorter while it was copied.");
        EXPECT_EQ(shorter.destinationError, 0);
        EXPECT_EQ(shorter.bytes, 1000U);
        lseek(from.fd(), 0, SEEK_SET);
        const mrb::CopyResult tooLarge = copy(from.fd(), full.fd(), 1000);
        EXPECT_EQ(tooLarge.destinationError, ENOSPC);
        EXPECT_TRUE(tooLarge.source.ok());
        const mrb::Descriptor directory(::open(folder.path().c_str(), O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(copy(directory.fd(), to.fd(), 1000).source.code, mrb::resultOfErrno(EISDIR));
    }
}

TEST(FileCopier, StopsOnCancellation) {
    const Folder folder;
    support::writeNoise(folder.path("from"), 5UL << 20, 1);
    const mrb::Descriptor from(::open(folder.path("from").c_str(), O_RDONLY | O_CLOEXEC));
    const mrb::Descriptor to(::open(folder.path("to").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600));
    const mrb::CopyResult end = mrb::FileCopier().copy(from.fd(), "from", to.fd(), 5UL << 20,
                                                       [](std::uint64_t bytes) { return bytes < 2UL << 20; });
    EXPECT_TRUE(end.isCancelled);
    EXPECT_EQ(std::filesystem::file_size(folder.path("to")), 2UL << 20);
}
