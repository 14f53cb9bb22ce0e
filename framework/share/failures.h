#pragma once

#include <cstdint>
#include <string>

#include "share/job.h"

namespace mrb {

// What went wrong in a job that goes on after failures: the first is its end's, and the
// log names some. Owned and used by the job.
class Failures {
  public:
    // `what` begins the log's lines: "Not copied".
    explicit Failures(const char *what) : what_(what) {}

    // `name` is that of the file with which it failed; empty: with none.
    void add(const Status &outcome, const std::string &name, JobEnd &end);
    // Logs how many were not named.
    void conclude() const;

  private:
    // A thousand lines more help nobody.
    static constexpr std::uint64_t MOST_LOGGED = 20;

    const char *const what_;
    std::uint64_t count_ = 0;
};

} // namespace mrb
