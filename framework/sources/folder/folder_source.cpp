#include "sources/folder/folder_source.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <string_view>
#include <utility>

#include "media/media_types.h"
#include "mrb/agent.h"
#include "sources/folder/folder_scan.h"
#include "text/text.h"

namespace mrb {
namespace {

constexpr std::string_view URI_SCHEME = "file://";
constexpr std::string_view MEDIA_ID_SCHEME = "msc:";

std::string withoutRepeatedSlashes(const std::string &path) {
    std::string clean;
    for (const char letter : path) {
        if (letter != '/' || clean.empty() || clean.back() != '/') {
            clean += letter;
        }
    }
    if (clean.ends_with('/')) {
        clean.pop_back();
    }
    return clean;
}

} // namespace

Status FolderSource::make(const ListRequest &request, std::unique_ptr<Source> &source) {
    if (request.isUhdMeta) {
        return Status::notSupported("Metadata of ultra-high-definition packages is not supported.");
    }
    std::string path = request.path;
    if (path.starts_with(URI_SCHEME)) {
        path = pathOfFileUri(path).value_or("");
    }
    if (!path.starts_with('/')) {
        return Status::invalidParameter("The scan path \"" + request.path +
                                        "\" is neither an absolute path nor a file:// URI.");
    }
    path = withoutRepeatedSlashes(path);
    // Opened here, so that a failure is returned to the caller, and so that the folder scanned is
    // the folder that was checked.
    const char *opened = path.empty() ? "/" : path.c_str();
    Descriptor folder(open(opened, O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
    if (!folder) {
        return Status::ofErrno(errno, opened);
    }
    source.reset(new FolderSource(std::move(path), std::move(folder)));
    return {};
}

FolderSource::FolderSource(std::string path, Descriptor folder)
    : path_(std::move(path)), folder_(std::move(folder)) {
    mounts_.add(folder_.fd());
}

FillResult FolderSource::fill(ItemSink &sink) {
    return FolderScan(sink, path_, &mounts_).run(std::move(folder_));
}

// A mounted folder belongs to the mount of its contents only, not to that of the folder itself.
MountIdentity FolderSource::mountOf(const ItemInfo &item) const { return mounts_.of(item.folder); }

std::string FolderSource::filePath(const ItemInfo &item) const {
    std::string bytes = path_;
    if (!item.folder.empty()) {
        bytes.append(1, '/').append(item.folder);
    }
    if (!item.name.empty() || bytes.empty()) {
        bytes.append(1, '/').append(item.name);
    }
    return bytes;
}

Status FolderSource::checkAvailable(const ItemInfo &item) const {
    const std::string path = filePath(item);
    return Status::ofErrno(lookUp(path, mountOf(item)), path);
}

ItemLocation FolderSource::locationOf(const ItemInfo &item) const {
    const std::string bytes = filePath(item);
    ItemLocation location;
    location.path = displayText(bytes);
    location.url = fileUri(bytes);
    location.mediaId = std::string(MEDIA_ID_SCHEME) + location.url.substr(URI_SCHEME.size());
    const MediaType *type = mediaTypeOf(item.name);
    if (item.type == MRB_ITEM_TYPE_FOLDER || item.type == MRB_ITEM_TYPE_UPFOLDER) {
        location.mimeType = FOLDER_MIME_TYPE;
    } else if (type != nullptr) {
        location.mimeType = type->mimeType;
    }
    return location;
}

std::optional<ItemInfo> FolderSource::findByMediaId(const std::string &mediaId) const {
    if (!mediaId.starts_with(MEDIA_ID_SCHEME)) {
        return std::nullopt;
    }
    const std::string uri = std::string(URI_SCHEME) + mediaId.substr(MEDIA_ID_SCHEME.size());
    const std::string path = pathOfFileUri(uri).value_or("");
    const std::string start = path_ + '/';
    if (!path.starts_with(start) || path.size() == start.size()) {
        return std::nullopt;
    }
    const std::size_t nameStart = path.rfind('/') + 1;
    ItemInfo item;
    item.name = path.substr(nameStart);
    if (nameStart > start.size()) {
        item.folder = path.substr(start.size(), nameStart - 1 - start.size());
    }
    return item;
}

} // namespace mrb
