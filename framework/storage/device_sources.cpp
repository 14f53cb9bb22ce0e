// The table of device sources.

#include "storage/cameras.h"
#include "storage/device_source.h"
#include "storage/local_storage.h"
#include "storage/offered_folders.h"

namespace mrb {

std::vector<std::unique_ptr<DeviceSource>> makeDeviceSources() {
    std::vector<std::unique_ptr<DeviceSource>> sources;
    sources.push_back(std::make_unique<LocalStorage>());
    sources.push_back(std::make_unique<Cameras>());
    sources.push_back(std::make_unique<OfferedFolders>(offeredFolders()));
    sources.push_back(std::make_unique<OfferedFolders>(offeredFolders(OFFERED_CAMERAS), DeviceKind::CAMERA));
    return sources;
}

} // namespace mrb
