#pragma once

#include <chrono>

namespace mrb {

// Locks an open file against other processes (flock, whole file, exclusively), or another
// descriptor of this one, until it is unlocked or the last copy of the descriptor is closed. It
// is polled every `interval`: a process that is stopped, or hangs in a device, may hold it for
// ever. An errno: 0: it is locked; EWOULDBLOCK: at the deadline another one still holds it; any
// other: the file system cannot lock it. Any thread.
int lockFile(int descriptor, std::chrono::steady_clock::time_point deadline,
             std::chrono::milliseconds interval);
void unlockFile(int descriptor);

} // namespace mrb
