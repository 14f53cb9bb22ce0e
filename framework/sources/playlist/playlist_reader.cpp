#include "sources/playlist/playlist_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "base/log.h"
#include "media/media_types.h"
#include "metadata/metadata.h"
#include "mrb/agent.h"
#include "text/text.h"

namespace mrb {
namespace {

// The maximum of bytes read between two checks for cancellation.
constexpr std::size_t PIECE = 64UL << 10;

} // namespace

int openPlaylist(const std::string &path, Descriptor &file) {
    // Non-blocking, since opening a pipe would wait for its writer.
    Descriptor opened(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!opened || fstat(opened.fd(), &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return EINVAL;
    }
    file = std::move(opened);
    return 0;
}

struct PlaylistReader::Reading {
    Reading(std::string path, PlaylistScope scope, std::int32_t number)
        : real(std::move(path)), targets(real, std::move(scope)), folder(number) {}

    const std::string real;
    EntryResolver targets;
    const std::int32_t folder;
    std::int32_t position = 0;
    const char *leftOut = nullptr; // why not all of it was read
};

bool PlaylistReader::addPlaylist(const std::string &real, const SourceItem &item) {
    return addOpening(item, {.playlist = real, .location = real}, real);
}

int PlaylistReader::addEntries(const Descriptor &file, const std::string &real) {
    ++playlists_;
    Reading reading(real, roots_.scopeOf(real), ROOT_FOLDER);
    return read(file, reading);
}

bool PlaylistReader::addOpening(SourceItem item, const PlaylistRow &row, const std::string &real) {
    Descriptor file;
    const bool isOpening = isWorthOpening() && open(real, file);
    if (isOpening) {
        item.opens = sink_.addFolder(item.folder, item.name);
        isFull_ = isFull_ || item.opens < 0;
    }
    if (!add(item, row) || !isOpening) {
        return !isFull_;
    }
    Reading reading(real, roots_.scopeOf(real), item.opens);
    if (const int error = read(file, reading); error != 0 && error != ECANCELED) {
        leaveOut(real, Status::ofErrno(error, "").message.c_str());
    }
    return !isFull_;
}

bool PlaylistReader::isWorthOpening() {
    const bool isNested = !way_.empty();
    if (way_.size() > MAX_LEVEL) {
        ++result_.tooDeep;
        return false;
    }
    if (playlists_ >= MAX_PLAYLISTS || (isNested && nested_ >= MAX_NESTED)) {
        ++result_.unreadable;
        return false;
    }
    ++playlists_;
    nested_ += isNested ? 1 : 0;
    return true;
}

bool PlaylistReader::open(const std::string &real, Descriptor &file) {
    if (const int error = openPlaylist(real, file); error != 0) {
        leaveOut(real, Status::ofErrno(error, "").message.c_str());
        return false;
    }
    // A playlist that contains itself is listed, and not opened again.
    return std::ranges::find(way_, identityOf(file)) == way_.end();
}

PlaylistReader::Identity PlaylistReader::identityOf(const Descriptor &file) {
    struct stat status {};
    return fstat(file.fd(), &status) == 0 ? Identity{status.st_dev, status.st_ino} : Identity{};
}

int PlaylistReader::read(const Descriptor &file, Reading &reading) {
    const auto parser =
        makePlaylistParser(reading.real, [&](const PlaylistEntry &entry) { return take(entry, reading); });
    if (!parser) {
        return EINVAL;
    }
    way_.push_back(identityOf(file));
    const int error = feed(file, *parser, reading);
    way_.pop_back();
    if (parser->isBroken()) {
        reading.leftOut = "It is damaged.";
    }
    if (error == 0 && reading.leftOut != nullptr) {
        leaveOut(reading.real, reading.leftOut);
    }
    return error;
}

int PlaylistReader::feed(const Descriptor &file, PlaylistParser &parser, Reading &reading) {
    const auto buffer = std::make_unique<char[]>(PIECE);
    for (std::int64_t done = 0; !isFull_;) {
        if (sink_.cancellation().isCancelled()) {
            isFull_ = true;
            break;
        }
        const ssize_t size = ::read(file.fd(), buffer.get(), PIECE);
        if (size < 0 && errno != EINTR) {
            return errno;
        }
        done += std::max<ssize_t>(size, 0);
        if (done > MAX_BYTES) {
            reading.leftOut = "It is too long.";
        }
        if (size == 0 || done > MAX_BYTES) {
            parser.finish();
            break;
        }
        if (size > 0 && !parser.feed({buffer.get(), static_cast<std::size_t>(size)})) {
            break;
        }
    }
    return isFull_ ? ECANCELED : 0;
}

bool PlaylistReader::take(const PlaylistEntry &entry, Reading &reading) {
    if (sink_.cancellation().isCancelled()) {
        isFull_ = true;
        return false;
    }
    if (reading.position == MAX_ENTRIES) {
        reading.leftOut = "It has too many entries.";
        return false;
    }
    ++reading.position;
    const ResolvedEntry target = reading.targets.find(entry);
    if (target.kind == ResolvedEntry::Kind::NOTHING) {
        return true;
    }
    // A stream without a known extension is most likely a radio station.
    const MediaType *type = mediaTypeOf(target.name);
    const auto itemType = type != nullptr ? type->itemType : std::uint8_t{MRB_ITEM_TYPE_MUSIC};
    const bool opens = itemType == MRB_ITEM_TYPE_M3U && target.kind == ResolvedEntry::Kind::FILE;
    if (!opens && !sink_.wants(itemType)) {
        return true;
    }
    const std::string title = cleanText(entry.title);
    const SourceItem item{.name = target.name,
                          .folder = reading.folder,
                          .type = itemType,
                          .size = target.stat.size,
                          .modified = target.stat.modified,
                          .created = target.stat.created};
    const PlaylistRow row{reading.real, reading.position, target.kind, target.location,
                          title,        entry.duration,   {}};
    return opens ? addOpening(item, row, target.location) : add(item, row);
}

bool PlaylistReader::add(SourceItem item, PlaylistRow row) {
    if (row.kind == ResolvedEntry::Kind::FILE) {
        row.mount = mountIdentityAt(std::string(row.location.substr(0, row.location.rfind('/') + 1)));
    }
    const std::string id = isFull_ ? std::string() : table_.add(row);
    item.id = id;
    isFull_ = isFull_ || id.empty() || !sink_.add({&item, 1});
    return !isFull_;
}

void PlaylistReader::leaveOut(const std::string &real, const char *why) {
    ++result_.unreadable;
    MRB_LOG_WARNING("Playlist not read, or not to its end: %s: %s", displayText(real).c_str(), why);
}

} // namespace mrb
