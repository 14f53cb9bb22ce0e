#include "library/media_library.h"

#include <chrono>
#include <utility>

#include "library/media_opening.h"

namespace mrb {
namespace {

// The key of the file at this moment.
MediaKey keyNow(const MediaItem &item, const MediaFile &file) {
    return {item.key.volume, item.key.path, file.size(), file.modified()};
}

// The file's own metadata take precedence over the source's.
std::shared_ptr<const MediaRecord> filled(std::shared_ptr<const MediaRecord> record, const MediaItem &item) {
    if (!item.sourceMetadata) {
        return record;
    }
    auto all = std::make_shared<MediaRecord>(*record);
    all->metadata.fillGaps(*item.sourceMetadata);
    return all;
}

// An item that is not a file is never read.
std::shared_ptr<const MediaRecord> recordOfNoFile(const MediaItem &item) {
    auto record = std::make_shared<MediaRecord>();
    record->isRead = true;
    return filled(std::move(record), item);
}

} // namespace

std::shared_ptr<const MediaRecord> MediaLibrary::cachedRecord(const MediaItem &item) {
    return item.path.empty() ? recordOfNoFile(item) : filled(promptly_.find(item.key), item);
}

Status MediaLibrary::read(const MediaItem &item, std::shared_ptr<const MediaRecord> &record) {
    if (item.path.empty()) {
        record = recordOfNoFile(item);
        return {};
    }
    Status status = readFile(item, record);
    record = filled(std::move(record), item);
    return status;
}

Status MediaLibrary::readFile(const MediaItem &item, std::shared_ptr<const MediaRecord> &record) {
    record = promptly_.find(item.key);
    if (record->isRead) {
        return {};
    }
    MediaFile file;
    Status status = openMedia(item.path, item.mount, file);
    if (!status.ok()) {
        return status;
    }
    const MediaKey key = keyNow(item, file);
    auto fresh = std::make_shared<MediaRecord>(*record);
    if (!(key == item.key)) {
        // The file has changed since the list saw it; its new contents may have been read
        // already.
        if (const auto now = promptly_.find(key); now->isRead) {
            fresh->isRead = true;
            fresh->metadata = now->metadata;
            record = std::move(fresh);
            return {};
        }
    }
    reader_(file, item.name, fresh->metadata, status);
    if (status.ok()) {
        fresh->isRead = true;
        promptly_.store(key, fresh->metadata);
        record = std::move(fresh);
    }
    return status;
}

Status MediaLibrary::writeNow(const MediaItem &item, const WrittenFields &fields) {
    Status status = cache_.write(item.key, fields);
    promptly_.storageChanged();
    return status;
}

void MediaLibrary::store(std::span<const FileMetadata> files) {
    static_cast<void>(cache_.store(files)); // what cannot be stored is read again later
    promptly_.storageChanged();
}

bool MediaLibrary::readAll(std::int32_t items, const std::function<MediaItem(std::int32_t)> &itemAt,
                           const CancellationToken &cancellation,
                           const std::function<void(std::int32_t, const MediaRecord &)> &take) {
    // A batch costs one transaction.
    constexpr std::size_t AT_ONCE = 128;
    std::vector<FileMetadata> batch;
    bool isWanted = true;
    for (std::int32_t index = 0; index < items && isWanted; ++index) {
        isWanted = !cancellation.isCancelled();
        const MediaItem item = isWanted ? itemAt(index) : MediaItem{};
        if (!isWanted || !item.isKnown()) {
            continue;
        }
        if (item.path.empty()) {
            take(index, *recordOfNoFile(item));
            continue;
        }
        const std::shared_ptr<const MediaRecord> record = cache_.find(item.key);
        if (record->isRead) {
            take(index, *filled(record, item));
            continue;
        }
        MediaFile file(cancellation);
        MediaRecord fresh = *record;
        Status status = openMedia(item.path, item.mount, file);
        if (status.ok()) {
            reader_(file, item.name, fresh.metadata, status);
        }
        isWanted = !cancellation.isCancelled();
        if (!isWanted) {
            continue; // the metadata may be incomplete
        }
        if (status.ok()) {
            batch.emplace_back(keyNow(item, file), fresh.metadata);
        }
        if (item.sourceMetadata) {
            fresh.metadata.fillGaps(*item.sourceMetadata);
        }
        take(index, fresh);
        if (batch.size() >= AT_ONCE) {
            store(batch);
            batch.clear();
        }
    }
    store(batch);
    return isWanted;
}

} // namespace mrb
