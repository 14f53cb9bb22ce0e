#include "session/opening.h"

#include <algorithm>
#include <exception>
#include <new>
#include <stdexcept>
#include <utility>

#include "base/log.h"
#include "fields/description.h"
#include "fields/sort_values.h"
#include "text/text.h"

namespace mrb {
namespace {

using std::chrono::steady_clock;

// Growth is worth an event when a screenful of new items is there, but not more
// than ten times a second; a slow source is reported once a second whatever came.
constexpr std::int32_t GROWTH_ITEMS = 256;
constexpr auto GROWTH_PAUSE = std::chrono::milliseconds(100);
constexpr auto LONGEST_SILENCE = std::chrono::seconds(1);

int lastEventOf(const Outcome &outcome) {
    switch (outcome.code) {
    case MRB_ERR_NONE:
        return MRB_EVENT_LIST_READY;
    case MRB_ERR_CANCELLED:
        return MRB_EVENT_LIST_CANCELLED;
    default:
        return MRB_EVENT_LIST_FAILED;
    }
}

} // namespace

Opening::Opening(EventThread &events, mrb_agent_handler_h handle, Listener listener,
                 std::unique_ptr<Source> source, ListWishes wishes)
    : events_(events), handle_(handle), listener_(listener), source_(std::move(source)),
      list_(std::move(wishes)) {}

void Opening::run() noexcept {
    try {
        begin_.wait();
        reportedAt_ = steady_clock::now();
        prepareFiles();
        beginWatch();
        result_ = fill();
        sort(result_.outcome);
        const int event = lastEventOf(result_.outcome);
        if (event == MRB_EVENT_LIST_FAILED) {
            MRB_LOG_ERROR("List %d failed: %s", handle_, result_.outcome.message.c_str());
        }
        events_.post(shared_from_this(), event);
        if (event == MRB_EVENT_LIST_READY) {
            handOverWatch();
            prepareFields();
        } else {
            watch_.reset();
        }
        if (groupReading_.listIsComplete()) {
            readGroups();
        }
    } catch (const std::exception &failure) {
        MRB_LOG_ERROR("List %d ended without an event: %s", handle_, failure.what());
    }
}

// Before there is an item: a client that asks for one finds this done, and does not wait for
// the device.
void Opening::prepareFiles() const {
    if (const std::string root = source_->watchedRoot(); !root.empty()) {
        library_->prepare();
        paths(root);
    }
}

const MediaPaths &Opening::paths(const std::string &root) const {
    std::call_once(pathsMade_, [&] { paths_.emplace(root); });
    return *paths_;
}

// Somebody who sees the items asks about them next, and should not wait for libraries.
void Opening::prepareFields() const {
    if (!stopped() && list_.passed() > 0 && hasFiles()) {
        library_->prepare();
        loadReaders();
    }
}

// Whether the items are files of this machine, as far as the first ones show.
bool Opening::hasFiles() const {
    constexpr std::int32_t ENOUGH = 100;
    if (!source_->watchedRoot().empty()) {
        return true;
    }
    const std::int32_t end = std::min(list_.passed(), ENOUGH);
    for (std::int32_t item = 0; item < end; ++item) {
        if (!mediaOf(list_.factsOf(item)).path.empty()) {
            return true;
        }
    }
    return false;
}

FillResult Opening::fill() {
    FillResult result;
    try {
        result = source_->fill(*this);
    } catch (const std::bad_alloc &) {
        result.outcome = {MRB_ERR_OUT_OF_MEMORY, "There is not enough memory for the list."};
    } catch (const std::length_error &) {
        result.outcome = {MRB_ERR_OUT_OF_MEMORY, "There is not enough memory for the list."};
    } catch (const std::exception &failure) {
        result.outcome = {MRB_ERR_IO, failure.what()};
    }
    if (full_) {
        result.outcome = {MRB_ERR_OUT_OF_MEMORY, "The list is full: the source holds more than " +
                                                     std::to_string(ItemStore::MOST_ITEMS) +
                                                     " items, or too much text."};
    }
    return result;
}

// What a source gave before it failed is sorted too; a list that was cancelled is
// left as it is, since whoever cancelled does not want to wait.
void Opening::sort(Outcome &outcome) {
    try {
        const auto isStopped = [this] { return stopped(); };
        const auto fileOf = [this](const ItemFacts &facts) { return mediaOf(facts); };
        const auto valuesOf = [&](const ItemStore &store, SortKey key) {
            return sortValues(store, key, library(), fileOf, isStopped);
        };
        if (!list_.sort(isStopped, valuesOf) && outcome.code == MRB_ERR_NONE) {
            outcome = {MRB_ERR_CANCELLED, {}};
        }
    } catch (const std::bad_alloc &) {
        outcome = {MRB_ERR_OUT_OF_MEMORY, "There is not enough memory to sort the list."};
    }
}

void Opening::close() {
    closed_ = true;
    endWatch();
    // In this order: a worker that stops at once would have its cancelled event
    // delivered before the withdrawal.
    events_.withdraw(*this);
    stop();
}

std::optional<std::string> Opening::describe(std::int32_t index) const {
    const std::optional<ListEntry> entry = list_.entry(index);
    if (!entry) {
        return std::nullopt;
    }
    return describeEntry(*entry, locate(*entry), told(entry->facts));
}

ItemLocation Opening::locate(const ListEntry &entry) const {
    const bool isSomewhere =
        entry.facts.type != MRB_ITEM_TYPE_GROUP && entry.facts.type != MRB_ITEM_TYPE_EMPTY;
    return isSomewhere ? source_->locate(entry.facts) : ItemLocation{};
}

std::optional<ToldFacts> Opening::told(const ItemFacts &facts) const {
    const bool isSomewhere = facts.type != MRB_ITEM_TYPE_GROUP && facts.type != MRB_ITEM_TYPE_EMPTY;
    return isSomewhere ? source_->told(facts) : std::nullopt;
}

MediaItem Opening::mediaOf(const ItemFacts &facts) const {
    switch (facts.type) {
    case MRB_ITEM_TYPE_FOLDER:
    case MRB_ITEM_TYPE_UPFOLDER:
    case MRB_ITEM_TYPE_GROUP:
    case MRB_ITEM_TYPE_EMPTY:
        return {};
    default:
        break;
    }
    MediaItem item;
    if (std::optional<ToldFacts> told = source_->told(facts)) {
        item.told = std::move(told->metadata);
    }
    item.path = source_->filePath(facts);
    if (!item.path.empty()) {
        // Files of a source that stands on no folder may lie anywhere.
        const std::string root = source_->watchedRoot();
        item.name = facts.name;
        item.mount = source_->mountOf(facts);
        item.key = paths(root.empty() ? "/" : root).keyOf(item.path, facts.size, facts.modified);
    }
    return item;
}

std::optional<std::int32_t> Opening::pageOf(const std::string &mediaId) const {
    const std::optional<ItemFacts> item = source_->identify(mediaId);
    return item ? list_.pageOf(*item) : std::nullopt;
}

void Opening::deliver(int event) noexcept {
    try {
        // Before the count is taken: what arrives from now on deserves an event of its own.
        if (event == MRB_EVENT_LIST_GROWN) {
            growthQueued_ = false;
        }
        const std::string data = serverData(event);
        listener_.callback(listener_.userData, handle_, event, 0, data.c_str());
    } catch (const std::exception &failure) {
        MRB_LOG_ERROR("Event %d of list %d was not delivered: %s", event, handle_, failure.what());
    }
}

bool Opening::wants(std::uint8_t type) const { return list_.wants(type); }

bool Opening::stopped() const { return stopped_.load(std::memory_order_relaxed); }

void Opening::announce(std::int64_t total) { announced_ = total; }

std::int32_t Opening::addFolder(std::int32_t parent, std::string_view name) {
    const std::int32_t number = list_.addFolder(parent, name);
    full_ = full_ || number < 0;
    return number;
}

bool Opening::add(std::span<const SourceItem> items) {
    full_ = full_ || !list_.add(items);
    if (full_ || stopped()) {
        return false;
    }
    reportGrowth();
    return true;
}

void Opening::reportGrowth() {
    const std::int32_t size = list_.passed();
    const std::int32_t grown = size - reportedSize_;
    const auto now = steady_clock::now();
    const auto silence = now - reportedAt_;
    const bool due =
        grown >= GROWTH_ITEMS ? silence >= GROWTH_PAUSE : grown > 0 && silence >= LONGEST_SILENCE;
    if (due) {
        reportedSize_ = size;
        reportedAt_ = now;
        postGrowth();
    }
}

// One that still waits for a slow listener will tell the newest count.
void Opening::postGrowth() {
    if (!growthQueued_.exchange(true)) {
        events_.post(shared_from_this(), MRB_EVENT_LIST_GROWN);
    }
}

std::string Opening::serverData(int event) const {
    Json::Value data(Json::objectValue);
    data["item_count"] = list_.passed();
    if (event == MRB_EVENT_LIST_GROWN) {
        const std::int64_t total = announced_;
        if (total != UNKNOWN) {
            data["total_count"] = Json::Int64{total};
        }
        if (const std::int64_t grouped = grouped_; grouped != UNKNOWN) {
            data["grouped_count"] = Json::Int64{grouped};
        }
        return jsonText(data);
    }
    if (event == MRB_EVENT_LIST_CHANGED || event == MRB_EVENT_DEVICE_REMOVED) {
        return jsonText(data);
    }
    data["unreadable"] = Json::Int64{result_.unreadable};
    data["too_deep"] = Json::Int64{result_.tooDeep};
    data["left_out"] = Json::Int64{result_.leftOut};
    data["left_out_names"] = Json::Value(Json::arrayValue);
    for (const std::string &name : result_.leftOutNames) {
        data["left_out_names"].append(name);
    }
    if (event == MRB_EVENT_LIST_FAILED) {
        data["error"] = resultName(result_.outcome.code);
        data["message"] = displayText(result_.outcome.message);
    }
    return jsonText(data);
}

} // namespace mrb
