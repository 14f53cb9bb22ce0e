#pragma once

namespace support {

// Drops the messages of udev from now on until the next receive, as the system does when
// there are too many; that receive then reports the loss once.
void loseUdevEvents();

} // namespace support
