#pragma once

#include <string>
#include <vector>

#include "base/descriptor.h"
#include "storage/device_source.h"

namespace mrb {

// The environment variable that names the offered folders, absolute paths with a line
// feed between them.
inline constexpr const char *OFFERED_FOLDERS = "MRB_DEVICES";

// Those that it names; what is not absolute is left out, and the log says so.
std::vector<std::string> offeredFolders();

// Folders that stand for devices, for trying a script without one: attached while the
// folder is there. Owned by the DeviceService; one thread at a time.
class OfferedFolders final : public DeviceSource {
  public:
    explicit OfferedFolders(std::vector<std::string> folders);
    void addDescriptors(std::vector<pollfd> &waited) const override;
    void look(DeviceTable &table) override;

  private:
    void watch();

    std::vector<std::string> folders_;
    Descriptor changes_;
};

} // namespace mrb
