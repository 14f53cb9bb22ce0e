#include "stderr_sink.h"
#include "support.h"

#include <array>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace {

using systemlog::StderrSink;

struct Pipe {
    Pipe() { EXPECT_EQ(pipe(ends.data()), 0); }
    ~Pipe() {
        close(ends[0]);
        closeWriter();
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;
    void closeWriter() {
        if (ends[1] >= 0) {
            close(ends[1]);
        }
        ends[1] = -1;
    }
    std::array<int, 2> ends{};
};

TEST(StderrSink, writesTagAndText) {
    Pipe pipe;
    StderrSink(pipe.ends[1]).write(5, "TAG", "text");
    pipe.closeWriter();
    EXPECT_EQ(readAll(pipe.ends[0]), "TAG: text\n");
}

TEST(StderrSink, writesAnEmptyText) {
    Pipe pipe;
    StderrSink(pipe.ends[1]).write(5, "TAG", "");
    pipe.closeWriter();
    EXPECT_EQ(readAll(pipe.ends[0]), "TAG: \n");
}

TEST(StderrSink, waitsForAReaderWhenTheDescriptorDoesNotBlock) {
    Pipe pipe;
    ASSERT_EQ(fcntl(pipe.ends[1], F_SETFL, O_NONBLOCK), 0);
    const std::string text = pattern(5'000'000);
    std::string received;
    std::thread reader([&] { received = readAll(pipe.ends[0]); });
    StderrSink(pipe.ends[1]).write(5, "TAG", text);
    pipe.closeWriter();
    reader.join();
    EXPECT_TRUE(received == "TAG: " + text + "\n");
}

TEST(StderrSink, dropsTheLineWhenTheDescriptorIsClosed) {
    StderrSink(-1).write(5, "TAG", "text");
    Pipe pipe;
    StderrSink(pipe.ends[1]).write(5, "TAG", "next");
    pipe.closeWriter();
    EXPECT_EQ(readAll(pipe.ends[0]), "TAG: next\n");
}

} // namespace
