#pragma once

#include <chrono>

namespace mrb {

// Has `finish` called when the process exits: by exit(3), or when main has returned. It ends
// what runs and waits for that until the deadline at most, which all share; true: nothing was
// left behind. Later ones are called first. Any thread; nothing here is ever destroyed.
//
// A process that was asked to exit is gone within two seconds, whatever hangs: where something
// was left behind, or a `finish` does not return, what comes later may hang as well (the
// loader's own end waits for whoever loads a library), so the process is then ended from
// outside of it, with the status that it was to have. Otherwise its exit is as any other.
using FinishAtExit = bool(std::chrono::steady_clock::time_point deadline);
void finishAtExit(FinishAtExit &finish);

// How long those wait together, and when the process is ended at the latest.
inline constexpr auto EXIT_GRACE = std::chrono::milliseconds(1500);
inline constexpr auto EXIT_LIMIT = std::chrono::milliseconds(1800);

} // namespace mrb
