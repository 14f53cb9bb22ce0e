#include "sources/playlist/playlist_search.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "base/descriptor.h"
#include "base/log.h"
#include "mrb/agent.h"
#include "sources/folder/folder_scan.h"

namespace mrb {

FillResult PlaylistSearch::run() {
    const std::string path = root_.real.empty() ? "/" : root_.real;
    Descriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
    FillResult result;
    if (folder) {
        result = FolderScan(*this, path).run(std::move(folder));
    } else {
        result.status = Status::ofErrno(errno, path);
    }
    if (!result.status.ok() && !cancellation().isCancelled()) {
        ++result.unreadable;
        MRB_LOG_WARNING("The search for playlists failed: %s", result.status.message.c_str());
    }
    return result;
}

bool PlaylistSearch::wants(std::uint8_t type) const { return type == MRB_ITEM_TYPE_M3U; }

std::int32_t PlaylistSearch::addFolder(std::int32_t parent, std::string_view name) {
    return folders_.add(parent, name);
}

bool PlaylistSearch::add(std::span<const SourceItem> items) {
    for (SourceItem item : items) {
        if (!wants(item.type)) {
            continue;
        }
        std::string path = root_.real + '/';
        if (item.folder != ROOT_FOLDER) {
            path.append(folders_.path(item.folder)).append(1, '/');
        }
        // The target of a link may lie anywhere.
        path = realPath(path.append(item.name));
        item.folder = ROOT_FOLDER;
        const bool isInside = path.starts_with(root_.real + '/');
        if (isInside && !reader_.addPlaylist(path, item)) {
            return false;
        }
    }
    return true;
}

} // namespace mrb
