#pragma once

#include <functional>
#include <thread>

namespace mrb {

// Starts a thread under `name` (at most 15 bytes), which debuggers and top show.
// The thread takes no signals of the process, so that handlers stay on the
// application's own threads. Throws std::system_error when the system has no
// room for another thread.
std::thread startThread(const char *name, std::function<void()> work);

// Says in the log that the thread `name` is detached at its deadline, and what may have kept it
// from ending: "A device does not answer."
void warnDetached(const char *name, const char *blocker);

} // namespace mrb
