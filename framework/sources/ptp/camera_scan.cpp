#include "sources/ptp/camera_scan.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <optional>
#include <utility>

#include "base/log.h"
#include "camera_files/camera_file.h"
#include "media/media_types.h"
#include "mrb/agent.h"
#include "sources/folder/folder_reader.h"
#include "text/text.h"

namespace mrb {
namespace {

// The number of files per request: large enough that the overhead is negligible, small enough
// that a thumbnail need not wait.
constexpr std::size_t AT_ONCE = 64;

// A single file may fail by itself; this many consecutive failures are the camera's.
constexpr int MAX_FAILURES = 3;

// Longer than the names of any camera or file system.
constexpr std::size_t MAX_NAME_LENGTH = 1024;

bool isShown(const std::string &name) {
    return !name.empty() && name[0] != '.' && name.size() <= MAX_NAME_LENGTH &&
           name.find('/') == std::string::npos;
}

std::string below(const std::string &folder, std::string_view name) {
    std::string path = folder == "/" ? "" : folder;
    return path.append(1, '/').append(name);
}

std::int64_t orUnknown(std::int64_t number) { return number == CameraFileStatus::UNSAID ? UNKNOWN : number; }

} // namespace

CameraScan::CameraScan(ItemSink &sink, CameraAddress address, std::string device)
    : sink_(sink), address_(std::move(address)), device_(std::move(device)),
      cancellation_(sink.cancellation()), order_(sink) {}

FillResult CameraScan::run(const std::string &root) {
    CameraService::instance().refresh(address_);
    Step step = readContents(root, ROOT_FOLDER, 0);
    while (step == Step::GO_ON && !pending_.empty()) {
        const Pending next = std::move(pending_.back());
        pending_.pop_back();
        step = cancellation_.isCancelled() ? end(Status::cancelled()) : visit(next);
    }
    // A camera that was removed may look like an empty one.
    if (step == Step::GO_ON && !isThere(address_, cancellation_)) {
        end(Status::deviceRemoved("The camera was removed while it was read."));
    }
    return std::move(result_);
}

CameraScan::Step CameraScan::visit(const Pending &pending) {
    const std::string name = pending.path.substr(pending.path.rfind('/') + 1);
    const std::int32_t number = sink_.addFolder(pending.parent, name);
    const SourceItem item{
        .name = name, .folder = pending.parent, .type = MRB_ITEM_TYPE_FOLDER, .opens = number};
    if (number < 0 || !sink_.add({&item, 1})) {
        return end(Status::cancelled());
    }
    if (pending.level > MAX_LEVEL) {
        ++result_.tooDeep;
        return Step::GO_ON;
    }
    return readContents(pending.path, number, pending.level);
}

CameraScan::Step CameraScan::readContents(const std::string &path, std::int32_t number, int level) {
    files_.clear();
    folders_.clear();
    if (const Status status = readNames(path); !status.ok()) {
        return failed(status, path, level);
    }
    return addFiles(path, number, level) == Step::END ? Step::END : awaitFolders(path, number, level + 1);
}

Status CameraScan::readNames(const std::string &path) {
    struct Names {
        std::vector<std::string> files;
        std::vector<std::string> folders;
    };
    const auto names = std::make_shared<Names>();
    Status status = CameraService::instance().run(
        address_,
        [names, path](Camera &camera) {
            Status listed = camera.listFiles(path, names->files);
            return listed.ok() ? camera.listFolders(path, names->folders) : listed;
        },
        cancellation_);
    if (!status.ok()) {
        return status;
    }
    for (const std::string &name : names->files) {
        const MediaType *type = isShown(name) ? mediaTypeOf(name) : nullptr;
        if (type != nullptr && sink_.wants(type->itemType) && files_.size() < FolderContents::MAX_ENTRIES) {
            files_.add(name, type->itemType);
        }
    }
    for (const std::string &name : names->folders) {
        if (isShown(name) && !isSystemFolder(name.c_str()) && folders_.size() < FolderContents::MAX_ENTRIES) {
            folders_.add(name, MRB_ITEM_TYPE_FOLDER);
        }
    }
    return {};
}

Status CameraScan::readStatus(const std::string &path, const std::vector<std::string> &names,
                              Statuses &fileStatus) {
    struct Received {
        Statuses fileStatus;
        std::atomic<bool> isComplete = false; // and is not written any more
    };
    const auto received = std::make_shared<Received>();
    Status status = CameraService::instance().run(
        address_,
        [received, path, names](Camera &camera) {
            int failures = 0;
            Status last;
            for (const std::string &name : names) {
                CameraFileStatus each;
                Status result = camera.readStatus({path, name}, each);
                failures = result.ok() ? 0 : failures + 1;
                if (result.code == MRB_ERR_CANCELLED || result.code == MRB_ERR_DEVICE_REMOVED ||
                    failures == MAX_FAILURES) {
                    return result;
                }
                received->fileStatus.push_back(result.code == MRB_ERR_NOT_FOUND ? std::nullopt
                                                                                : std::optional(each));
                last = result.ok() ? std::move(last) : std::move(result);
            }
            received->isComplete = true;
            return last; // may be an error of the camera
        },
        cancellation_);
    const bool isEnd = status.code == MRB_ERR_CANCELLED || status.code == MRB_ERR_DEVICE_REMOVED;
    if (received->isComplete && !isEnd) {
        fileStatus = std::move(received->fileStatus);
        return {};
    }
    return status;
}

CameraScan::Step CameraScan::addFiles(const std::string &path, std::int32_t number, int level) {
    PagedVector<std::uint32_t> order;
    if (!order_.rest(files_, order)) {
        return end(Status::cancelled());
    }
    for (std::size_t first = 0; first < order.size(); first += AT_ONCE) {
        const std::size_t last = std::min(order.size(), first + AT_ONCE);
        std::vector<std::string> names;
        for (std::size_t at = first; at < last; ++at) {
            names.emplace_back(files_.name(order[at]));
        }
        Statuses fileStatus;
        if (const Status status = readStatus(path, names, fileStatus); !status.ok()) {
            return failed(status, path, level);
        }
        std::vector<SourceItem> run;
        for (std::size_t at = 0; at < names.size(); ++at) {
            if (fileStatus[at]) {
                run.push_back({.name = names[at],
                               .folder = number,
                               .type = files_.type(order[first + at]),
                               .size = orUnknown(fileStatus[at]->size),
                               .modified = orUnknown(fileStatus[at]->modified)});
            }
        }
        if (!run.empty() && !sink_.add(run)) {
            return end(Status::cancelled());
        }
    }
    return Step::GO_ON;
}

CameraScan::Step CameraScan::awaitFolders(const std::string &path, std::int32_t number, int level) {
    PagedVector<std::uint32_t> order;
    if (!order_.rest(folders_, order)) {
        return end(Status::cancelled());
    }
    for (auto next = order.rbegin(); next != order.rend(); ++next) {
        pending_.push_back({below(path, folders_.name(*next)), number, level});
    }
    return Step::GO_ON;
}

// A folder that cannot be read costs only its own contents, unless it is the one on which the
// list was opened, or the camera itself failed.
CameraScan::Step CameraScan::failed(const Status &status, const std::string &path, int level) {
    const Status why = unlessRemoved(status, device_);
    if (level == 0 || endsAll(why)) {
        return end(why);
    }
    ++result_.unreadable;
    MRB_LOG_WARNING("Folder on a camera not read: %s: %s", displayText(path).c_str(), why.message.c_str());
    return Step::GO_ON;
}

CameraScan::Step CameraScan::end(Status status) {
    result_.status = std::move(status);
    return Step::END;
}

} // namespace mrb
