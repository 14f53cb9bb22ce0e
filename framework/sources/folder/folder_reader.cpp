#include "sources/folder/folder_reader.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>

#include "media/media_types.h"
#include "mrb/agent.h"

namespace mrb {
namespace {

// The buffer for directory entries; larger reads are not faster.
constexpr std::size_t BUFFER_BYTES = 64UL * 1024;

constexpr unsigned STATX_FIELDS = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_BTIME;

int readStatus(int folder, const char *name, int flags, struct statx &status) {
    return statx(folder, name, flags | AT_NO_AUTOMOUNT, STATX_FIELDS, &status) == 0 ? 0 : errno;
}

FileStat infoOf(const struct statx &status) {
    FileStat stat;
    // A damaged disk may report any 64 bits.
    if ((status.stx_mask & STATX_SIZE) != 0 && std::in_range<std::int64_t>(status.stx_size)) {
        stat.size = static_cast<std::int64_t>(status.stx_size);
    }
    if ((status.stx_mask & STATX_MTIME) != 0) {
        stat.modified = status.stx_mtime.tv_sec;
    }
    // Some file systems report a time of creation, and it is 1970.
    if ((status.stx_mask & STATX_BTIME) != 0 && status.stx_btime.tv_sec != 0) {
        stat.created = status.stx_btime.tv_sec;
    }
    return stat;
}

// Errors for an entry that does not exist any more, or a link without a target.
bool isGone(int error) { return error == ENOENT || error == ELOOP || error == ENOTDIR; }

} // namespace

int statFile(int folder, const char *name, FileStat &stat) {
    struct statx status {};
    const int flags = *name == '\0' ? AT_EMPTY_PATH : AT_SYMLINK_NOFOLLOW;
    const int error = readStatus(folder, name, flags, status);
    if (error == 0) {
        stat = infoOf(status);
    }
    return error;
}

FolderReader::FolderReader(const ItemSink &sink) : sink_(sink), buffer_(new char[BUFFER_BYTES]) {}

FolderReader::~FolderReader() = default;

int FolderReader::read(int folder, FolderContents &files, FolderContents &folders) {
    int failure = 0;
    while (true) {
        const ssize_t size = getdents64(folder, buffer_.get(), BUFFER_BYTES);
        if (size <= 0) {
            return size == 0 ? failure : errno;
        }
        for (ssize_t offset = 0; offset < size;) {
            if (sink_.cancellation().isCancelled()) {
                return ECANCELED;
            }
            if (files.size() + folders.size() == FolderContents::MAX_ENTRIES) {
                return ENOMEM;
            }
            // The kernel aligns every record for this type.
            const auto *entry = reinterpret_cast<const dirent64 *>(buffer_.get() + offset);
            offset += entry->d_reclen;
            const int error = examine(folder, entry->d_name, entry->d_type, files, folders);
            failure = failure == 0 ? error : failure;
        }
    }
}

int FolderReader::examine(int folder, const char *name, unsigned char kind, FolderContents &files,
                          FolderContents &folders) {
    // Only a damaged disk has a name with a slash, which would lead to another folder.
    if (name[0] == '.' || name[0] == '\0' || std::strchr(name, '/') != nullptr) {
        return 0;
    }
    struct statx status {};
    bool haveStatus = false;
    if (kind == DT_UNKNOWN) {
        const int error = readStatus(folder, name, AT_SYMLINK_NOFOLLOW, status);
        if (error != 0) {
            return isGone(error) ? 0 : error;
        }
        kind = static_cast<unsigned char>(IFTODT(status.stx_mode));
        haveStatus = kind == DT_REG;
    }
    if (kind == DT_DIR) {
        if (!isSystemFolder(name)) {
            folders.add(name, MRB_ITEM_TYPE_FOLDER);
        }
        return 0;
    }
    const MediaType *type = kind == DT_REG || kind == DT_LNK ? mediaTypeOf(name) : nullptr;
    if (type == nullptr || !sink_.wants(type->itemType)) {
        return 0;
    }
    std::optional<FileStat> stat;
    if (haveStatus) {
        stat = infoOf(status);
    } else if (kind == DT_LNK) {
        // Only now is it known whether the link's target is a file.
        const int error = readFile(folder, name, stat.emplace());
        if (error != 0) {
            return isGone(error) ? 0 : error;
        }
    }
    files.add(name, type->itemType, stat);
    return 0;
}

int FolderReader::readFile(int folder, const char *name, FileStat &stat) {
    struct statx status {};
    const int error = readStatus(folder, name, 0, status);
    if (error != 0) {
        return isGone(error) ? ENOENT : error;
    }
    if (!S_ISREG(status.stx_mode)) {
        return ENOENT;
    }
    stat = infoOf(status);
    return 0;
}

} // namespace mrb
