#include "camera/camera_sizes.h"

#include <chrono>
#include <map>
#include <memory>
#include <mutex>

#include "base/log.h"
#include "camera/camera_service.h"

namespace mrb {
namespace {

// A list may be asked for many times a second; a camera must not be claimed as often.
constexpr auto FRESH = std::chrono::seconds(10);

// So many cameras are remembered; more are long gone.
constexpr std::size_t MOST = 256;

struct Said {
    CameraSizes sizes;
    std::chrono::steady_clock::time_point when = std::chrono::steady_clock::time_point::min();
    bool isSilent = false;
};

struct Memory {
    std::mutex lock; // guards what follows
    std::map<std::string, Said> ports;
};

Memory &memory() {
    static Memory &all = *new Memory; // Never destroyed: clients may come late.
    return all;
}

Outcome ask(const CameraAddress &address, CameraSizes &sizes) {
    const auto told = std::make_shared<CameraSizes>();
    Outcome outcome =
        CameraService::instance().run(address, [told](Camera &camera) { return camera.readSizes(*told); });
    if (outcome.code == MRB_ERR_NONE) {
        sizes = *told;
    }
    return outcome;
}

} // namespace

CameraSizes sizesOfCamera(const CameraAddress &camera, const std::string &name) {
    Said said;
    {
        const std::lock_guard guard(memory().lock);
        if (memory().ports.size() >= MOST) {
            memory().ports.clear();
        }
        said = memory().ports[camera.port];
    }
    const auto now = std::chrono::steady_clock::now();
    if (said.when != std::chrono::steady_clock::time_point::min() && now - said.when < FRESH) {
        return said.sizes;
    }
    const Outcome outcome = ask(camera, said.sizes);
    if (outcome.code != MRB_ERR_NONE && !said.isSilent) {
        MRB_LOG_WARNING("The camera \"%s\" does not tell what it has room for: %s (%s)", name.c_str(),
                        outcome.message.c_str(), resultName(outcome.code));
    }
    said.isSilent = outcome.code != MRB_ERR_NONE;
    said.when = std::chrono::steady_clock::now();
    const std::lock_guard guard(memory().lock);
    memory().ports[camera.port] = said;
    return said.sizes;
}

} // namespace mrb
