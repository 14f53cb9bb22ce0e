#include "storage/device_limits.h"

#include <charconv>
#include <cstdlib>
#include <string_view>

#include "base/log.h"

namespace mrb {

DeviceLimits DeviceLimits::ofEnvironment() {
    constexpr int MAX_TIMEOUT = 60'000;
    DeviceLimits limits;
    const char *value = std::getenv("MRB_DEVICE_TIMEOUT");
    const std::string_view text = value != nullptr ? value : "";
    if (text.empty()) {
        return limits;
    }
    int timeout = 0;
    const char *const end = text.data() + text.size();
    if (std::from_chars(text.data(), end, timeout).ptr != end || timeout < 1 || timeout > MAX_TIMEOUT) {
        MRB_LOG_WARNING("MRB_DEVICE_TIMEOUT=%s is ignored: it is not a number of milliseconds from 1 to %d.",
                        value, MAX_TIMEOUT);
        return limits;
    }
    limits.call = limits.firstCall = std::chrono::milliseconds(timeout);
    return limits;
}

} // namespace mrb
