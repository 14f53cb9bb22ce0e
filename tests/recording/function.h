#pragma once
// One function of the media framework, recorded: its calls go into the trace, its
// replies come from the test.

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "mrb/storage.h"

#include "arguments.h"
#include "recorder.h"
#include "value.h"

namespace recording {

/// When the numbers of new handles start again.
enum class Numbering {
    PerTrace,  // from 1 at every clear: parameter objects, which live for one command
    PerProcess // never, and from 1001: lists and shares, which live on
};

/// A recorded function. Exists for the whole process; any thread may call it. Its
/// replies are guarded by the recorder's mutex.
class Function {
  public:
    /// `initial` is the reply of a function for which no test has set one.
    explicit Function(const char *name, Reply initial = {}, Numbering numbering = Numbering::PerTrace);

    /// Records the call, writes the out-argument, returns the result. While recording
    /// is off the default is read without a lock: it must not be set at the same time.
    template <typename Result, typename... Arguments>
    Result call(Arguments... arguments) {
        if (!isRecording()) {
            (giveOut(arguments, default_, *this), ...);
            return resultAs<Result>(default_.result);
        }
        const Reply reply = record({toValue(arguments)...});
        (giveOut(arguments, reply, *this), ...);
        return resultAs<Result>(reply.result);
    }

    /// A getter of a device: the device's own value takes precedence over any reply.
    template <typename Result>
    Result callGetter(_mrb_storage_s *device) {
        if (!isRecording()) {
            return resultAs<Result>(default_.result);
        }
        const Reply reply = record({toValue(device)});
        const Value *own = deviceValue(device, name_);
        return resultAs<Result>(own != nullptr ? *own : reply.result);
    }

    const char *name() const { return name_; }
    const Reply &initial() const { return initial_; }

    // For tests, between calls.
    void setDefault(Reply reply);
    void queue(Reply reply);
    void reset();

    /// The number of the next handle that this function returns.
    int64_t nextHandle();

  private:
    // The reply to a call: the oldest queued one, else the default. Throws one that throws.
    Reply record(std::vector<Value> arguments);

    const char *name_;
    const Reply initial_;
    const Numbering numbering_;
    Reply default_;
    std::deque<Reply> queued_;
    int64_t handles_;
};

} // namespace recording

// Defines the C function `name`, which records itself. `parameters` and
// `arguments` are the parenthesised lists; more arguments of Function follow.
#define RECORDED(result, name, parameters, arguments, ...)                                                   \
    static recording::Function name##_recorded(#name __VA_OPT__(, ) __VA_ARGS__);                            \
    extern "C" result name parameters { return name##_recorded.call<result> arguments; }
