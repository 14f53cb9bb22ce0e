#include "storage/camera_capacity_probe.h"

#include <sys/eventfd.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <map>
#include <string>
#include <utility>

#include "base/descriptor.h"
#include "base/log.h"
#include "base/mutex.h"
#include "camera/camera_service.h"

namespace mrb {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto FRESH = std::chrono::seconds(10);

// The requests to one camera.
struct Request {
    std::shared_ptr<CameraService::Task> task; // null: it has ended
    Clock::time_point ended;
    bool isWarned = false; // since its last result
};

void warn(Request &request, const std::string &name, const Status &status) {
    if (!std::exchange(request.isWarned, true)) {
        MRB_LOG_WARNING("The camera \"%s\" does not report its capacity: %s (%s)", name.c_str(),
                        status.message.c_str(), resultName(status.code));
    }
}

} // namespace

struct CameraCapacityProbe::Mailbox {
    Descriptor readable{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    Mutex lock;
    std::vector<Result> results MRB_GUARDED_BY(lock);
    std::map<CameraAddress, Request> cameras MRB_GUARDED_BY(lock);

    // With the lock held, so that the end of the request waits for it.
    static void start(const std::shared_ptr<Mailbox> &mailbox, const Device &camera)
        MRB_REQUIRES(mailbox->lock);
};

CameraCapacityProbe::CameraCapacityProbe() : mailbox_(std::make_shared<Mailbox>()) {}

int CameraCapacityProbe::fd() const { return mailbox_->readable.fd(); }

void CameraCapacityProbe::request(std::span<const Device> cameras) {
    const MutexLock guard(mailbox_->lock);
    std::erase_if(mailbox_->cameras, [cameras](const auto &known) {
        return std::ranges::none_of(cameras, [&](const Device &each) { return each.camera == known.first; });
    });
    for (const Device &camera : cameras) {
        const auto [known, isNew] = mailbox_->cameras.try_emplace(camera.camera);
        Request &request = known->second;
        Status status;
        if (!request.task && (isNew || Clock::now() - request.ended >= FRESH)) {
            try {
                Mailbox::start(mailbox_, camera);
            } catch (const std::exception &failure) {
                warn(request, camera.name, Status::outOfMemory(failure.what()));
            }
        } else if (request.task && CameraService::instance().isOver(request.task, status) &&
                   status.code == MRB_ERR_TIMEOUT) {
            warn(request, camera.name, status); // Late so far; a result may still arrive.
        }
    }
}

void CameraCapacityProbe::Mailbox::start(const std::shared_ptr<Mailbox> &mailbox, const Device &camera) {
    const auto sizes = std::make_shared<CameraSizes>();
    const auto work = [sizes](Camera &opened) { return opened.readSizes(*sizes); };
    const auto ended = [mailbox, sizes, address = camera.camera, name = camera.name](const Status &status) {
        const MutexLock guard(mailbox->lock);
        const auto known = mailbox->cameras.find(address);
        if (known == mailbox->cameras.end()) {
            return; // The camera was removed.
        }
        known->second.task = nullptr;
        known->second.ended = Clock::now();
        if (!status.ok()) {
            if (status.code != MRB_ERR_CANCELLED) { // Otherwise the process exits.
                warn(known->second, name, status);
            }
            return;
        }
        known->second.isWarned = false;
        mailbox->results.push_back({address, *sizes});
        eventfd_write(mailbox->readable.fd(), 1);
    };
    mailbox->cameras[camera.camera].task = CameraService::instance().start(camera.camera, work, ended);
}

std::vector<CameraCapacityProbe::Result> CameraCapacityProbe::takeResults() {
    eventfd_t ignored = 0;
    eventfd_read(mailbox_->readable.fd(), &ignored);
    const MutexLock guard(mailbox_->lock);
    return std::exchange(mailbox_->results, {});
}

} // namespace mrb
