#include "storage/camera_names.h"

#include <sys/eventfd.h>

#include <exception>
#include <utility>

#include "base/descriptor.h"
#include "base/log.h"
#include "base/mutex.h"
#include "base/threads.h"

namespace mrb {

struct CameraNames::Mailbox {
    Descriptor readable{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    Mutex lock;
    std::vector<Result> results MRB_GUARDED_BY(lock);
};

CameraNames::CameraNames() : mailbox_(std::make_shared<Mailbox>()) {}

int CameraNames::fd() const { return mailbox_->readable.fd(); }

void CameraNames::request(const std::string &key, const CameraAddress &address, const std::string &name) {
    try {
        startThread("mrb-camera", [mailbox = mailbox_, key, address, name] {
            scan(*mailbox, key, address, name);
        }).detach();
    } catch (const std::exception &failure) {
        MRB_LOG_WARNING("The camera \"%s\" is shown under its udev name: %s", name.c_str(), failure.what());
    }
}

void CameraNames::scan(Mailbox &mailbox, const std::string &key, const CameraAddress &address,
                       const std::string &name) {
    try {
        const CameraModel model = cameraLibrary().modelOf(address);
        if (model.driver.empty()) {
            MRB_LOG_WARNING("No libgphoto2 driver for the camera \"%s\"; it is shown under its udev name.",
                            name.c_str());
        }
        if (!model.name.empty()) {
            const MutexLock guard(mailbox.lock);
            mailbox.results.push_back({key, address, model.name});
            eventfd_write(mailbox.readable.fd(), 1);
        }
    } catch (const std::exception &failure) {
        MRB_LOG_WARNING("The camera \"%s\" is shown under its udev name: %s", name.c_str(), failure.what());
    }
}

std::vector<CameraNames::Result> CameraNames::takeResults() {
    eventfd_t ignored = 0;
    eventfd_read(mailbox_->readable.fd(), &ignored);
    const MutexLock guard(mailbox_->lock);
    return std::exchange(mailbox_->results, {});
}

} // namespace mrb
