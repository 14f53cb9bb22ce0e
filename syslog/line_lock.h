#pragma once

namespace systemlog {

/// Held while one line is written, so that lines of different threads never
/// mix. One lock serves the process, which writes to one sink; any thread may
/// take it, and a child made by fork() never inherits it taken.
class LineLock {
  public:
    LineLock() noexcept;
    ~LineLock();
    LineLock(const LineLock &) = delete;
    LineLock &operator=(const LineLock &) = delete;
};

} // namespace systemlog
