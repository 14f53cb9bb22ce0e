#pragma once

namespace systemlog {

/// Held while one line is written, so that lines of different threads never
/// mix. There is one lock per process, which writes to one sink; any thread may
/// take it, and a child process of fork() never inherits it locked.
class LineLock {
  public:
    LineLock() noexcept;
    ~LineLock();
    LineLock(const LineLock &) = delete;
    LineLock &operator=(const LineLock &) = delete;
};

} // namespace systemlog
