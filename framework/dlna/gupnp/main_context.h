#pragma once

#include <glib.h>

#include <chrono>
#include <functional>
#include <memory>

#include "base/deleter.h"

namespace mrb::dlna {

void removeSource(GSource *source);

// A source of a main context, as long as it is wanted.
using Source = std::unique_ptr<GSource, Deleter<removeSource>>;

// One that wakes the context up again and again, for conditions that change without an event of it.
Source wakeUps(GMainContext *context);

// Runs the calling thread's default main context until `isDone`, but no longer than that;
// then until it has nothing more to do at once.
void runContext(const std::function<bool()> &isDone, std::chrono::milliseconds longest);

} // namespace mrb::dlna
