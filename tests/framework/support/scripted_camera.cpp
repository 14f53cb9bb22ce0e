#include "support/scripted_camera.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string_view>
#include <utility>

using mrb::CameraPath;
using mrb::CancellationToken;
using mrb::Status;

namespace support {

struct ScriptedCamera::State {
    std::mutex lock; // guards what follows
    ScriptedCamera *camera = nullptr;
    std::vector<std::string> requests;
    std::optional<Status> pulledOut; // the answer since then
};

namespace {

// A whole file is sent in parts of this size, as libgphoto2 does.
constexpr std::size_t PART_SIZE = 64UL << 10;

// The one camera.
struct Plug {
    std::mutex lock; // guards what follows
    std::weak_ptr<ScriptedCamera::State> state;
};

Plug &plug() {
    static Plug &made = *new Plug; // Never destroyed: the library may be called late.
    return made;
}

Status gone() { return Status::deviceRemoved("No such device."); }

// As ScriptedCamera::files has it.
std::string keyOf(const std::string &folder, const std::string &name) {
    return folder == "/" ? name : folder.substr(1) + '/' + name;
}

class ScriptedDriver final : public mrb::Camera {
  public:
    explicit ScriptedDriver(std::shared_ptr<ScriptedCamera::State> state) : state_(std::move(state)) {}

    void cancelWith(CancellationToken cancellation) override { cancellation_ = std::move(cancellation); }
    Status readSizes(mrb::CameraSizes &sizes) override {
        // Without the lock: it may wait for the test.
        std::function<Status(mrb::CameraSizes &)> onSizes = [](mrb::CameraSizes & /*sizes*/) {
            return Status::ioError("The cable.");
        };
        const Status status = withCamera([&](ScriptedCamera &camera) {
            onSizes = camera.onSizes;
            return Status();
        });
        return status.ok() && onSizes ? onSizes(sizes) : status;
    }
    Status listFiles(const std::string &folder, std::vector<std::string> &names) override {
        std::function<Status(const CameraRequest &)> onRequest;
        Status status = withCamera([&](ScriptedCamera &camera) {
            onRequest = camera.onRequest;
            return Status();
        });
        if (status.ok() && onRequest) {
            status = onRequest({"list", folder});
        }
        return !status.ok() ? status : withCamera([&](ScriptedCamera &camera) {
            const std::string start = keyOf(folder, "");
            for (const auto &[key, file] : camera.files) {
                if (key.starts_with(start) && key.find('/', start.size()) == std::string::npos) {
                    names.push_back(key.substr(start.size()));
                }
            }
            return folder == "/" || !names.empty() ? Status() : Status::notFound(folder);
        });
    }
    Status listFolders(const std::string &folder, std::vector<std::string> &names) override {
        return withCamera([&](ScriptedCamera &camera) {
            for (const auto &[key, file] : camera.files) {
                const std::string name = key.substr(0, std::min(key.find('/'), key.size()));
                if (folder == "/" && name.size() < key.size() &&
                    std::ranges::find(names, name) == names.end()) {
                    names.push_back(name);
                }
            }
            return Status();
        });
    }

    Status readStatus(const CameraPath &path, mrb::CameraFileStatus &fileStatus) override {
        return withFile("status", path, 0, [&](const ScriptedFile &file) {
            fileStatus = file.fileStatus;
            return Status();
        });
    }

    Status readAt(const CameraPath &path, std::uint64_t offset, char *buffer, std::size_t length,
                  std::size_t &got) override {
        got = 0;
        return withFile("piece", path, offset, [&](const ScriptedFile &file) {
            ScriptedCamera &camera = *state_->camera;
            if (!camera.givesPieces) {
                return Status::notSupported("Whole files only.");
            }
            const auto start = static_cast<std::size_t>(std::min<std::uint64_t>(offset, file.bytes.size()));
            got = std::min({length, file.bytes.size() - start, camera.longestPiece});
            std::memcpy(buffer, file.bytes.data() + start, got);
            return Status();
        });
    }

    Status read(const CameraPath &path, mrb::CameraPart part, const Consumer &take) override {
        if (part == mrb::CameraPart::WHOLE) {
            return readWhole(path, take);
        }
        const bool isExif = part == mrb::CameraPart::EXIF;
        std::optional<std::string> bytes;
        Status status = withFile(isExif ? "exif" : "preview", path, 0, [&](const ScriptedFile &file) {
            bytes = isExif ? file.exif : file.preview;
            return bytes ? Status() : Status::notFound("No such part.");
        });
        return status.ok() && !take(*bytes) ? Status::cancelled() : status;
    }

  private:
    Status readWhole(const CameraPath &path, const Consumer &take) {
        std::uint64_t done = 0;
        std::string part;
        do {
            part.clear();
            Status status = withFile(done == 0 ? "whole" : "", path, done, [&](const ScriptedFile &file) {
                const auto start = std::min<std::uint64_t>(done, file.bytes.size());
                part = file.bytes.substr(static_cast<std::size_t>(start), PART_SIZE);
                return Status();
            });
            if (status.ok() && (cancellation_.isCancelled() || !take(part))) {
                status = Status::cancelled();
            }
            if (!status.ok()) {
                return status;
            }
            done += part.size();
        } while (!part.empty());
        return {};
    }

    template <typename Work>
    Status withCamera(const Work &work) {
        const std::lock_guard guard(state_->lock);
        if (state_->pulledOut) {
            return *state_->pulledOut;
        }
        return state_->camera == nullptr ? gone() : work(*state_->camera);
    }

    // Keeps the request unless `kind` is empty.
    template <typename Work>
    Status withFile(const std::string &kind, const CameraPath &path, std::uint64_t offset, const Work &work) {
        // Without the lock: the function may cause other requests.
        std::function<Status(const CameraRequest &)> onRequest;
        Status status = withCamera([&](ScriptedCamera &camera) {
            if (!kind.empty()) {
                state_->requests.push_back(kind + ' ' + path.name);
            }
            onRequest = camera.onRequest;
            return Status();
        });
        if (status.ok() && onRequest) {
            status = onRequest({kind.empty() ? "whole" : kind, path.name, offset});
        }
        if (!status.ok()) {
            return status;
        }
        return withCamera([&](ScriptedCamera &camera) {
            const auto file = camera.files.find(keyOf(path.folder, path.name));
            return file == camera.files.end() ? Status::notFound(path.name) : work(file->second);
        });
    }

    const std::shared_ptr<ScriptedCamera::State> state_;
    CancellationToken cancellation_;
};

class ScriptedLibrary final : public mrb::CameraLibrary {
  public:
    mrb::CameraModel modelOf(const mrb::CameraAddress & /*address*/) override { return {}; }
    std::unique_ptr<mrb::Camera> open(const mrb::CameraAddress & /*address*/, Status &status) override {
        const std::lock_guard guard(plug().lock);
        std::shared_ptr<ScriptedCamera::State> state = plug().state.lock();
        bool isThere = state != nullptr;
        if (state) {
            const std::lock_guard own(state->lock);
            isThere = !state->pulledOut;
        }
        status = isThere ? Status() : gone();
        return isThere ? std::make_unique<ScriptedDriver>(std::move(state)) : nullptr;
    }
};

} // namespace

ScriptedFile ScriptedFile::of(std::string bytes) {
    ScriptedFile file;
    file.fileStatus.size = static_cast<std::int64_t>(bytes.size());
    file.fileStatus.modified = 1'700'000'000;
    file.bytes = std::move(bytes);
    return file;
}

ScriptedCamera::ScriptedCamera() : state_(std::make_shared<State>()) {
    state_->camera = this;
    const std::lock_guard guard(plug().lock);
    plug().state = state_;
}

ScriptedCamera::~ScriptedCamera() {
    const std::lock_guard guard(state_->lock);
    state_->camera = nullptr;
}

void ScriptedCamera::pullOut(Status answer) {
    const std::lock_guard guard(state_->lock);
    state_->pulledOut = std::move(answer);
}

std::vector<std::string> ScriptedCamera::requests() const {
    const std::lock_guard guard(state_->lock);
    return state_->requests;
}

void ScriptedCamera::clearRequests() {
    const std::lock_guard guard(state_->lock);
    state_->requests.clear();
}

} // namespace support

mrb::CameraLibrary *scripted_camera_library() { return new support::ScriptedLibrary; }
