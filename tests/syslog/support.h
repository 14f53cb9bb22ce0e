#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

/// A folder of the test's own, removed with everything in it at the end of the test.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    [[nodiscard]] std::string path(const std::string &name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

/// A Unix socket that a test listens on, as a log daemon does.
class Listener {
  public:
    /// `type` is SOCK_DGRAM or SOCK_STREAM. Replaces a dead socket at `path`.
    Listener(std::string path, int type);
    ~Listener();
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    /// The next datagram. Fails the test and returns "" when none arrives.
    std::string datagram();
    /// The next datagram that passes a file descriptor: the contents of the file.
    std::string passedFile();
    /// What the next client sends until it closes the connection.
    std::string wholeStream();
    /// Stops listening and removes the socket's name.
    void stop();

  private:
    std::string path_;
    int socket_;
};

/// The output of a child process, and how it ended.
struct ChildResult {
    std::string out;
    std::string error;
    int status = -1; // exit status, or 128 + signal
};

/// Runs the logging child with QUILL_LOG set to `log`, or unset when null, and so
/// QUILL_LOG_TAGS to `tags`.
ChildResult runLoggingChild(const char *log, const std::vector<std::string> &arguments,
                            const char *tags = nullptr);

/// Everything that can be read from `descriptor` until its writers close it.
std::string readAll(int descriptor);
/// `count` bytes that encode their position, so that a loss or a swap shows.
std::string pattern(size_t count);
std::vector<std::string> linesOf(std::string_view text);
