#pragma once

#include <chrono>

namespace mrb {

// Registers `finish` to be called when the process exits: by exit(3), or when main has returned.
// It ends what runs and waits for that until the deadline at most, which all share; true: no
// thread was detached. Called in reverse order of registration. Any thread.
//
// A process that exits is gone within two seconds, whatever hangs: where a thread was detached,
// or a `finish` does not return, later exit handlers may hang as well (the loader's own waits for
// a thread that loads a library), so a watchdog then ends the process, with the status that it
// was to have. Otherwise the process exits as usual.
using FinishAtExit = bool(std::chrono::steady_clock::time_point deadline);
void finishAtExit(FinishAtExit &finish);

// The timeout that all `finish` share, and when the process is ended at the latest.
inline constexpr auto EXIT_GRACE = std::chrono::milliseconds(1500);
inline constexpr auto EXIT_LIMIT = std::chrono::milliseconds(1800);

} // namespace mrb
