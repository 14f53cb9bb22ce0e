#include "thumbnail/data_root.h"

#include <cstdlib>
#include <filesystem>

namespace mrb::thumbnail {
namespace {

// An absolute path from the environment; relative ones count as unset, as the XDG Base Directory
// rules require.
std::filesystem::path folderOf(const char *variable) {
    const char *value = std::getenv(variable);
    return value != nullptr && value[0] == '/' ? value : "";
}

std::filesystem::path root() {
    if (auto chosen = folderOf("MRB_ROOT"); !chosen.empty()) {
        return chosen;
    }
    if (const auto caches = folderOf("XDG_CACHE_HOME"); !caches.empty()) {
        return caches / "mrb";
    }
    const auto home = folderOf("HOME");
    return home.empty() ? home : home / ".cache" / "mrb";
}

} // namespace

std::string pathOnThisMachine(const std::string &path) {
    const std::filesystem::path below = root();
    if (!path.starts_with('/') || below.empty()) {
        return {};
    }
    // A normalized path cannot lead out of the root: the ".." of an absolute path end at "/".
    const auto normal = std::filesystem::path(path).lexically_normal();
    return normal.has_filename() ? (below / normal.relative_path()).string() : std::string();
}

} // namespace mrb::thumbnail
