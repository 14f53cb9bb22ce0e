#pragma once

#include <libudev.h>

#include <string>

#include "storage/device.h"

namespace mrb {

// Whether what is on this block device can be carried away: it is attached by USB, its
// disk says that it is removable, or it is a card in a slot.
bool isRemovable(udev_device *block);

// Whether it holds files and nobody asked to hide it.
bool holdsFiles(udev_device *block);

// What is known of it while nothing is mounted. Texts of the device are its own claims.
Device describeBlock(udev_device *block);

// The file system on the device file as libblkid sees it, which needs the right to
// read it; empty when there is none, or it cannot be read.
std::string probeFileSystem(const std::string &node);

} // namespace mrb
