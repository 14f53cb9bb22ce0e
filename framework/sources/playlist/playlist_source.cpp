#include "sources/playlist/playlist_source.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <charconv>
#include <utility>

#include "media/media_types.h"
#include "mrb/agent.h"
#include "sources/playlist/playlist_reader.h"
#include "sources/playlist/playlist_search.h"
#include "text/text.h"

namespace mrb {
namespace {

constexpr std::string_view URI_SCHEME = "file://";
constexpr std::string_view MEDIA_ID_SCHEME = "playlist:";

} // namespace

Status PlaylistSource::make(const ListRequest &request, std::unique_ptr<Source> &source) {
    if (request.prepareData.empty()) {
        source.reset(new PlaylistSource({}, Descriptor()));
        return {};
    }
    std::string path = request.prepareData;
    if (path.starts_with(URI_SCHEME)) {
        path = pathOfFileUri(path).value_or("");
    }
    if (!path.starts_with('/')) {
        return Status::invalidParameter("The playlist \"" + request.prepareData +
                                        "\" is neither an absolute path nor a file:// URI.");
    }
    Descriptor file;
    if (const int error = openPlaylist(path, file); error != 0) {
        return error == EINVAL ? Status::notSupported(path + " is not a file.")
                               : Status::ofErrno(error, path);
    }
    std::string real = realPath(path);
    if (makePlaylistParser(real, {}) == nullptr) {
        return Status::notSupported(
            real + " is not a playlist: its name does not end in .m3u, .m3u8, .pls or .xspf.");
    }
    source.reset(new PlaylistSource(std::move(real), std::move(file)));
    return {};
}

PlaylistSource::PlaylistSource(std::string path, Descriptor file)
    : path_(std::move(path)), file_(std::move(file)) {}

FillResult PlaylistSource::fill(ItemSink &sink) {
    FillResult result;
    const PlaylistRoots roots = PlaylistRoots::ofMachine();
    PlaylistReader reader(sink, table_, roots);
    if (path_.empty()) {
        for (const PlaylistRoot &root : roots.searchFolders()) {
            if (sink.cancellation().isCancelled() || reader.isFull()) {
                break;
            }
            const FillResult found = PlaylistSearch(sink, reader, root).run();
            result.unreadable += found.unreadable;
            result.tooDeep += found.tooDeep;
        }
    } else {
        const Descriptor file = std::exchange(file_, Descriptor());
        sink.aboutToRead(ROOT_FOLDER, file.fd());
        if (const int error = reader.addEntries(file, path_); error != 0 && !reader.isFull()) {
            result.status = Status::ofErrno(error, path_);
        }
    }
    result.unreadable += reader.result().unreadable;
    result.tooDeep += reader.result().tooDeep;
    if (sink.cancellation().isCancelled()) {
        result.status = Status::cancelled();
    } else if (reader.isFull()) {
        result.status = Status::outOfMemory("The list is full: the playlists hold too many entries.");
    }
    return result;
}

std::optional<PlaylistRow> PlaylistSource::rowOf(const ItemInfo &item) const {
    if (!item.id.empty()) {
        return table_.find(item.id);
    }
    return path_.empty() ? std::nullopt : std::optional(PlaylistRow{.playlist = path_, .location = path_});
}

std::string PlaylistSource::filePath(const ItemInfo &item) const {
    const std::optional<PlaylistRow> row = rowOf(item);
    return row && row->kind == ResolvedEntry::Kind::FILE ? std::string(row->location) : std::string();
}

MountIdentity PlaylistSource::mountOf(const ItemInfo &item) const {
    const std::optional<PlaylistRow> row = rowOf(item);
    return row ? row->mount : MountIdentity();
}

Status PlaylistSource::checkAvailable(const ItemInfo &item) const {
    const std::optional<PlaylistRow> row = rowOf(item);
    if (!row || row->kind == ResolvedEntry::Kind::URL) {
        return {};
    }
    const std::string path(row->location);
    if (row->kind == ResolvedEntry::Kind::MISSING) {
        return Status::notFound(path + " does not exist.");
    }
    return Status::ofErrno(lookUp(path, row->mount), path);
}

ItemLocation PlaylistSource::locationOf(const ItemInfo &item) const {
    ItemLocation location;
    const std::optional<PlaylistRow> row = rowOf(item);
    const MediaType *type = mediaTypeOf(item.name);
    if (!row) {
        location.mimeType = FOLDER_MIME_TYPE; // the list's own folder
        return location;
    }
    const std::string target(row->location);
    if (row->kind == ResolvedEntry::Kind::URL) {
        location.url = target;
    } else {
        location.path = displayText(target);
        location.url = fileUri(target);
    }
    location.mediaId =
        std::string(MEDIA_ID_SCHEME) + fileUri(std::string(row->playlist)).substr(URI_SCHEME.size());
    if (row->position > 0) {
        location.mediaId.append(1, '#').append(std::to_string(row->position));
    }
    type = type != nullptr ? type : mediaTypeOf(target);
    location.mimeType = type != nullptr ? type->mimeType : "";
    return location;
}

std::optional<SourceMetadata> PlaylistSource::sourceMetadata(const ItemInfo &item) const {
    const std::optional<PlaylistRow> row = rowOf(item);
    if (!row) {
        return std::nullopt;
    }
    SourceMetadata info;
    info.isMissing = row->kind == ResolvedEntry::Kind::MISSING;
    info.metadata.setText(MetadataKey::TITLE, row->title);
    if (row->duration != UNKNOWN) {
        info.metadata.setNumber(MetadataKey::DURATION, row->duration);
    }
    return info;
}

std::optional<ItemInfo> PlaylistSource::findByMediaId(const std::string &mediaId) const {
    if (!mediaId.starts_with(MEDIA_ID_SCHEME)) {
        return std::nullopt;
    }
    std::string uri = std::string(URI_SCHEME) + mediaId.substr(MEDIA_ID_SCHEME.size());
    std::int32_t position = 0;
    if (const std::size_t mark = uri.rfind('#'); mark != std::string::npos) {
        const char *end = uri.data() + uri.size();
        const auto read = std::from_chars(uri.data() + mark + 1, end, position);
        if (read.ec != std::errc() || read.ptr != end || position < 1) {
            return std::nullopt;
        }
        uri.resize(mark);
    }
    const std::optional<std::string> path = pathOfFileUri(uri);
    const std::optional<std::string> id = path ? table_.idOf(*path, position) : std::nullopt;
    if (!id) {
        return std::nullopt;
    }
    ItemInfo item;
    item.id = *id;
    return item;
}

} // namespace mrb
