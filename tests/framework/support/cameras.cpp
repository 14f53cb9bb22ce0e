#include "support/cameras.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "mrb/agent.h"

namespace fs = std::filesystem;

namespace support {
namespace {

// Where the framework looks for a camera, from the process's start on.
std::string placeOf(int number) {
    return fs::temp_directory_path() /
           ("framework-test-" + std::to_string(getpid()) + "-camera-" + std::to_string(number));
}

// The framework reads it when it looks for devices for the first time.
bool offer() {
    std::string places;
    for (int number = 1; number <= OfferedCamera::MOST; ++number) {
        places += placeOf(number) + '\n';
    }
    return setenv("MRB_CAMERAS", places.c_str(), 1) == 0;
}

const bool isOffered [[maybe_unused]] = offer();

} // namespace

OfferedCamera::OfferedCamera(int number) : number_(number) { plug(); }

OfferedCamera::~OfferedCamera() { unplug(); }

void OfferedCamera::unplug() { fs::remove(placeOf(number_)); }

void OfferedCamera::plug() { fs::create_directory_symlink(folder.path(), placeOf(number_)); }

std::string OfferedCamera::name() const {
    return fs::path(placeOf(number_)).filename().string() + " (folder offered as a camera)";
}

std::string OfferedCamera::id() const { return "ptp:folder:" + placeOf(number_); }

ListOptions OfferedCamera::listOptions(const std::string &folderId) const {
    return {.source = "SOURCE_PTP", .more = [this, folderId](mrb_general_param_h param) {
                mrb_param_set_general_device_value(param, number_);
                mrb_param_set_general_folder_id(param, folderId.c_str());
            }};
}

} // namespace support
