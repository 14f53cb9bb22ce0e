#include "share/failures.h"

#include "base/log.h"

namespace mrb {

void Failures::add(const Status &status, const std::string &name, JobResult &result) {
    if (++count_ <= MAX_LOGGED) {
        MRB_LOG_WARNING("%s: %s (%s)", what_, status.message.c_str(), resultName(status.code));
    }
    if (result.status.ok()) {
        result.status = status;
        result.name = name;
    }
}

void Failures::conclude() const {
    if (count_ > MAX_LOGGED) {
        MRB_LOG_WARNING("%s: %llu more files.", what_, static_cast<unsigned long long>(count_ - MAX_LOGGED));
    }
}

} // namespace mrb
