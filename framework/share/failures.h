#pragma once

#include <cstdint>
#include <string>

#include "share/job.h"

namespace mrb {

// The failures of a job that goes on after them: the first is part of its result, and some are
// logged. Owned and used by the job.
class Failures {
  public:
    // `what` is the prefix of log lines: "Not copied".
    explicit Failures(const char *what) : what_(what) {}

    // `name` is that of the file that failed; empty: none.
    void add(const Status &status, const std::string &name, JobResult &result);
    // Logs the number of failures that were not logged.
    void conclude() const;

  private:
    // Further lines would only flood the log.
    static constexpr std::uint64_t MAX_LOGGED = 20;

    const char *const what_;
    std::uint64_t count_ = 0;
};

} // namespace mrb
