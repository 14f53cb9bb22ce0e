#pragma once
// The recorder: the calls of all functions, the functions by name, and the devices
// that tests define.

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "mrb/storage.h"

#include "events.h"
#include "value.h"

/// A device that a test defined: the results of its getters, by the getter's name.
struct _mrb_storage_s { // NOLINT(bugprone-reserved-identifier): the framework's own name
    int64_t number = 0;
    std::map<std::string, recording::Value> values;
};

namespace recording {

class Function;

/// Whether calls are recorded and return the replies of tests, or return their defaults
/// at the cost of one relaxed load, for benchmarks.
bool isRecording();
void setRecording(bool on);

/// The one mutex of the recording framework.
std::mutex &recorderMutex();

/// Every recorded function by its name.
const std::map<std::string, Function *> &functions();
void registerFunction(Function *function);

/// The calls so far, in order.
inline std::vector<Call> trace() { return eventsOf<Call>(); }

/// Forgets the calls and what callbacks returned, the replies set by tests, the blocks
/// and the numbering. Registered callbacks and devices stay.
void clear();

/// A short name for a pointer: `kind` and the order in which it was first seen,
/// "user1"; nullptr for null. The caller holds the mutex.
Value nameOf(const char *kind, const void *pointer);

/// Adds a device that exists until the process ends; returns its number.
int64_t addDevice(std::map<std::string, Value> values);

/// The device with that number; null when there is none.
_mrb_storage_s *deviceOf(int64_t number);

/// The result of `getter` for `device`; null when the test did not set one.
const Value *deviceValue(const _mrb_storage_s *device, const char *getter);

/// A copy of `text` that exists until the process ends.
const char *keepText(const std::string &text);

} // namespace recording
