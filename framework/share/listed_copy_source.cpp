#include "share/listed_copy_source.h"

#include <string_view>

#include "media/media_types.h"
#include "mrb/agent.h"
#include "share/file_names.h"
#include "text/text.h"

namespace mrb {
namespace {

// The next file may lie on another device, so it is tried even if this one's device is gone.
Status ofThisFile(Status status) {
    const bool isOfDevice = status.code == MRB_ERR_DEVICE_REMOVED || status.code == MRB_ERR_TIMEOUT;
    status.code = isOfDevice ? MRB_ERR_NOT_FOUND : status.code;
    return status;
}

Status notHere(const ItemInfo &item, const ItemLocation &location) {
    return Status::notFound(displayText(item.name) + (location.path.empty()
                                                          ? ": it lies on another machine, and only files of "
                                                            "this one are copied."
                                                          : ": there is no file " + location.path + "."));
}

std::string folderNameOf(std::string_view playlist) {
    const std::string_view extension = extensionOf(playlist);
    const std::string_view stem =
        playlist.substr(0, playlist.size() - (extension.empty() ? 0 : extension.size() + 1));
    return std::string(isPlainName(stem) ? stem : playlist);
}

} // namespace

Status ListedCopySource::open(const ItemInfo &item, const CancellationToken & /*cancellation*/, File &file) {
    const std::string path = list_->source().filePath(item);
    if (!path.starts_with('/')) {
        return notHere(item, list_->items().locationOf(item));
    }
    // The list's path has no links: a link that is there now has another target.
    return ofThisFile(openFile(std::string_view(path).substr(1), LastLink::REFUSED,
                               list_->source().mountOf(item), item.name, file));
}

CopyResult ListedCopySource::copy(int destination, const std::function<bool(std::uint64_t)> &moved) {
    CopyResult result = LocalCopySource::copy(destination, moved);
    result.source = ofThisFile(std::move(result.source));
    return result;
}

std::string ListedCopySource::pathOf(std::string path) const { return renamedPath(path, folderNameOf); }

} // namespace mrb
