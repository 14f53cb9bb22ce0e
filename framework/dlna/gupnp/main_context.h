#pragma once

#include <glib.h>

#include <chrono>
#include <functional>
#include <memory>

#include "base/deleter.h"

namespace mrb::dlna {

void removeSource(GSource *source);

// A source of a main context, destroyed with its owner.
using Source = std::unique_ptr<GSource, Deleter<removeSource>>;

// A timer that wakes the context up repeatedly, for conditions that change without an event of it.
Source wakeUps(GMainContext *context);

// Runs the calling thread's default main context until `isDone` returns true, or the timeout;
// then until no source is ready.
void runContext(const std::function<bool()> &isDone, std::chrono::milliseconds timeout);

} // namespace mrb::dlna
