#pragma once

#include <cstdint>
#include <string>

#include "base/cancellation.h"
#include "base/result.h"

namespace mrb {

// Receives a job's progress. Called by the job's own thread.
class JobObserver {
  public:
    virtual ~JobObserver() = default;

    // Cancelled as soon as the job should end. Lives as long as the observer.
    [[nodiscard]] virtual const CancellationToken &cancellation() const = 0;

    // The totals, before anything is done.
    virtual void begins(std::uint32_t files, std::uint64_t bytes) = 0;

    // A file begins; `planned` bytes of it are in the total, `size` is its real size.
    virtual void fileBegins(const std::string &name, std::uint64_t size, std::uint64_t planned) = 0;
    virtual void fileMoves(std::uint64_t bytes) = 0; // bytes of it done so far
    virtual void fileEnds(bool isDone) = 0;
};

// The result of a job.
struct JobResult {
    int event = 0;    // one of the MRB_EVENT_SHARE_ that end a share, or MRB_EVENT_DEVICE_REMOVED
    Status status;    // the first failure
    std::string name; // of the file that failed; empty: none
    // Files that were completed.
    std::uint32_t files = 0;
    std::uint64_t bytes = 0;
};

// The work of one share. Owned by the share; `run` is called once, on a thread that
// may wait for devices.
class Job {
  public:
    virtual ~Job() = default;
    virtual JobResult run(JobObserver &observer) = 0;
};

} // namespace mrb
