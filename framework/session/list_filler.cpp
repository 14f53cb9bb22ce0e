#include "session/list_filler.h"

#include <algorithm>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>

#include "fields/sort_values.h"
#include "watch/file_watch.h"
#include "watch/folder_watch.h"

namespace mrb {
namespace {

using std::chrono::steady_clock;

// A growth event is posted for 256 new items, but at most ten times a second; for fewer, once a
// second.
constexpr std::int32_t GROWTH_ITEMS = 256;
constexpr auto GROWTH_INTERVAL = std::chrono::milliseconds(100);
constexpr auto MAX_SILENCE = std::chrono::seconds(1);

} // namespace

FillResult ListFiller::run() {
    prepareFiles();
    beginWatch();
    FillResult result = fill();
    sort(result.status);
    return result;
}

// Before the first item is added: a client that requests one then does not wait for the device.
void ListFiller::prepareFiles() const {
    if (!items_.source().watchedRoot().empty()) {
        library_.prepare();
        items_.prepare();
    }
}

void ListFiller::beginWatch() {
    const Source &source = items_.source();
    if (const std::string root = source.watchedRoot(); !root.empty()) {
        watch_ = std::make_unique<FolderWatch>(root);
    } else if (const std::string file = source.watchedFile(); !file.empty()) {
        watch_ = std::make_unique<FileWatch>(file);
    }
}

FillResult ListFiller::fill() {
    FillResult result;
    try {
        result = items_.source().fill(*this);
    } catch (const std::bad_alloc &) {
        result.status = Status::outOfMemory("There is not enough memory for the list.");
    } catch (const std::length_error &) {
        result.status = Status::outOfMemory("There is not enough memory for the list.");
    } catch (const std::exception &failure) {
        result.status = Status::ioError(failure.what());
    }
    if (full_) {
        result.status =
            Status::outOfMemory("The list is full: the source holds more than " +
                                std::to_string(ItemStore::MAX_ITEMS) + " items, or too much text.");
    }
    return result;
}

// Items of a source that failed are sorted too; a cancelled list stays unsorted, since its client
// does not wait for it.
void ListFiller::sort(Status &status) {
    try {
        const auto fileOf = [this](const ItemInfo &info) { return items_.mediaOf(info); };
        const auto valuesOf = [&](const ItemStore &store, SortKey key) {
            return sortValues(store, key, library_, fileOf, cancellation_);
        };
        if (!list_.sort(cancellation_, valuesOf) && status.ok()) {
            status = Status::cancelled();
        }
    } catch (const std::bad_alloc &) {
        status = Status::outOfMemory("There is not enough memory to sort the list.");
    }
}

void ListFiller::preloadReaders() const {
    if (!cancellation_.isCancelled() && list_.matchCount() > 0 && hasFiles()) {
        library_.prepare();
        loadReaders();
    }
}

// Whether the items are files of this machine, judged by the first ones.
bool ListFiller::hasFiles() const {
    constexpr std::int32_t ENOUGH = 100;
    if (!items_.source().watchedRoot().empty()) {
        return true;
    }
    const std::int32_t end = std::min(list_.matchCount(), ENOUGH);
    for (std::int32_t item = 0; item < end; ++item) {
        if (!items_.mediaOf(list_.infoOf(item)).path.empty()) {
            return true;
        }
    }
    return false;
}

std::int32_t ListFiller::addFolder(std::int32_t parent, std::string_view name) {
    const std::int32_t number = list_.addFolder(parent, name);
    full_ = full_ || number < 0;
    return number;
}

void ListFiller::aboutToRead(std::int32_t folder, int descriptor) {
    if (watch_) {
        watch_->aboutToRead(folder, descriptor);
    }
}

bool ListFiller::add(std::span<const SourceItem> items) {
    full_ = full_ || !list_.add(items);
    if (full_ || cancellation_.isCancelled()) {
        return false;
    }
    reportGrowth();
    return true;
}

void ListFiller::reportGrowth() {
    const std::int32_t size = list_.matchCount();
    const std::int32_t grown = size - reportedSize_;
    const auto now = steady_clock::now();
    const auto silence = now - reportedAt_;
    const bool due = grown >= GROWTH_ITEMS ? silence >= GROWTH_INTERVAL : grown > 0 && silence >= MAX_SILENCE;
    if (due) {
        reportedSize_ = size;
        reportedAt_ = now;
        events_.postGrowth();
    }
}

} // namespace mrb
