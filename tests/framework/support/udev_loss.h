#pragma once

namespace support {

// From now on until the next time it is asked, what udev tells is thrown away, as the
// system does when there is too much of it; then it says once that something is missing.
void loseUdevEvents();

} // namespace support
