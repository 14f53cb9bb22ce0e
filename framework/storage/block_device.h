#pragma once

#include <libudev.h>

#include <string>

#include "storage/device.h"

namespace mrb {

// Whether the medium of this block device can be removed: it is attached by USB, its disk
// reports itself as removable, or it is a card in a slot.
bool isRemovable(udev_device *block);

// Whether it has a file system and UDISKS_IGNORE does not hide it.
bool holdsFiles(udev_device *block);

// What is known of it while it is not mounted. Texts come from the device unchecked.
Device describeBlock(udev_device *block);

// The file system on the device file as reported by libblkid, which needs permission to
// read the device file; empty when it has none, or cannot be read.
std::string probeFileSystem(const std::string &node);

} // namespace mrb
