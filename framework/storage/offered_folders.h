#pragma once

#include <string>
#include <vector>

#include "base/descriptor.h"
#include "storage/device_source.h"

namespace mrb {

// The environment variables with the offered folders, absolute paths separated by line
// feeds: one for folders that stand for storage, one for those that stand for cameras.
inline constexpr const char *OFFERED_FOLDERS = "MRB_DEVICES";
inline constexpr const char *OFFERED_CAMERAS = "MRB_CAMERAS";

// The folders of a variable; paths that are not absolute are ignored with a warning.
std::vector<std::string> offeredFolders(const char *variable = OFFERED_FOLDERS);

// Folders that stand for devices of a kind, for trying a script without a device: attached
// while the folder exists. Owned by the DeviceService; one thread at a time.
class OfferedFolders final : public DeviceSource {
  public:
    explicit OfferedFolders(std::vector<std::string> folders, DeviceKind kind = DeviceKind::USB);
    void addDescriptors(std::vector<pollfd> &waited) const override;
    void scan(DeviceTable &table) override;

  private:
    void watch();

    std::vector<std::string> folders_;
    DeviceKind kind_;
    Descriptor changes_;
};

} // namespace mrb
