#include "sources/playlist/playlist_roots.h"

#include <glib.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>

#include "base/deleter.h"
#include "storage/device_service.h"

namespace mrb {
namespace {

std::string withoutSlash(std::string path) {
    while (path.ends_with('/')) {
        path.pop_back();
    }
    return path;
}

bool isWithin(std::string_view path, std::string_view folder) {
    return path.starts_with(folder) && path.size() > folder.size() && path[folder.size()] == '/';
}

} // namespace

std::string realPath(const std::string &path) {
    const MallocPtr<char> real(realpath(path.c_str(), nullptr));
    return real ? real.get() : "";
}

std::string normalPath(std::string_view path) {
    std::string result;
    while (!path.empty()) {
        const std::size_t length = std::min(path.find('/'), path.size());
        const std::string_view name = path.substr(0, length);
        path.remove_prefix(std::min(length + 1, path.size()));
        if (name == "..") {
            result.resize(std::min(result.rfind('/'), result.size()));
        } else if (!name.empty() && name != ".") {
            result.append(1, '/').append(name);
        }
    }
    return result;
}

std::string musicFolder() {
    const char *known = g_get_user_special_dir(G_USER_DIRECTORY_MUSIC);
    const char *home = g_get_home_dir();
    if (home == nullptr || *home != '/') {
        return {};
    }
    const std::string folder = withoutSlash(known != nullptr ? known : std::string(home) + "/Music");
    // The home folder itself means that no music folder is set.
    return folder == withoutSlash(home) ? "" : folder;
}

std::string PlaylistScope::resolve(std::string_view path) const {
    std::string clean = normalPath(path);
    const auto pathIn = [&clean](const PlaylistRoot &root) {
        if (isWithin(clean, root.real)) {
            return clean;
        }
        return isWithin(clean, root.given) ? root.real + clean.substr(root.given.size()) : std::string();
    };
    std::string found = pathIn(own_);
    for (auto each = others_.begin(); found.empty() && each != others_.end(); ++each) {
        found = pathIn(*each);
    }
    return found;
}

bool PlaylistScope::holds(std::string_view realPath) const {
    return isWithin(realPath, own_.real) ||
           std::ranges::any_of(others_, [=](const auto &root) { return isWithin(realPath, root.real); });
}

PlaylistRoots::PlaylistRoots(const std::vector<std::string> &storages, const std::string &musicFolder) {
    const auto add = [this](const std::string &given, bool isOfUser) {
        const std::string real = given.starts_with('/') ? realPath(given) : std::string();
        if (!real.empty()) {
            roots_.push_back({withoutSlash(given), withoutSlash(real), isOfUser});
        }
    };
    std::ranges::for_each(storages, [&](const std::string &storage) { add(storage, false); });
    add(musicFolder, true);
}

PlaylistRoots PlaylistRoots::ofMachine() {
    std::vector<std::string> storages;
    for (const Device &device : DeviceService::instance().attached(DeviceKind::USB)) {
        if (!device.mountPath.empty()) {
            storages.push_back(device.mountPath);
        }
    }
    return {storages, musicFolder()};
}

std::vector<PlaylistRoot> PlaylistRoots::searchFolders() const {
    std::vector<PlaylistRoot> found;
    for (const PlaylistRoot &root : roots_) {
        const bool isInside = std::ranges::any_of(
            roots_, [&](const PlaylistRoot &other) { return isWithin(root.real, other.real); });
        if (!isInside && std::ranges::find(found, root.real, &PlaylistRoot::real) == found.end()) {
            found.push_back(root);
        }
    }
    return found;
}

PlaylistScope PlaylistRoots::scopeOf(const std::string &realPlaylist) const {
    const PlaylistRoot *own = nullptr;
    for (const PlaylistRoot &root : roots_) {
        if (isWithin(realPlaylist, root.real) && (own == nullptr || root.real.size() > own->real.size())) {
            own = &root;
        }
    }
    if (own != nullptr && !own->isOfUser) {
        return {*own, {}};
    }
    const std::string folder = realPlaylist.substr(0, realPlaylist.rfind('/'));
    return {own != nullptr ? *own : PlaylistRoot{folder, folder, true}, roots_};
}

} // namespace mrb
