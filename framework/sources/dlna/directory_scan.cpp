#include "sources/dlna/directory_scan.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "base/log.h"
#include "mrb/agent.h"
#include "sources/dlna/object_record.h"
#include "sources/dlna/search_criteria.h"

namespace mrb {

using dlna::BrowseRequest;
using dlna::MediaObject;
using dlna::Page;

FillResult DirectoryScan::run(const ListRequest &request) {
    bool isDone = false;
    Step step = Step::GO_ON;
    if (isWorthSearching(request)) {
        step = search(request, isDone);
        isForSearch_ = true;
    }
    if (step == Step::GO_ON && !isDone) {
        step = walk();
    }
    if (step == Step::GO_ON && result_.status.ok()) {
        result_.status = std::move(fault_);
    }
    return std::move(result_);
}

// When the search fails before it returned an object, the containers are walked instead.
DirectoryScan::Step DirectoryScan::search(const ListRequest &request, bool &isDone) {
    BrowseRequest browseRequest;
    browseRequest.kind = BrowseRequest::Kind::CAPABILITIES;
    Page page;
    const Status status = browse(browseRequest, page);
    if (status.code == MRB_ERR_CANCELLED || status.code == MRB_ERR_DEVICE_REMOVED ||
        status.code == MRB_ERR_TIMEOUT) {
        return end(status);
    }
    browseRequest.kind = BrowseRequest::Kind::SEARCH;
    browseRequest.criteria = searchCriteria(request, page.capabilities);
    if (browseRequest.criteria.empty()) {
        return Step::GO_ON;
    }
    std::int64_t found = 0;
    const Step step = readPages(browseRequest, {target_.container, ROOT_FOLDER, 0}, found);
    const int code = result_.status.code;
    isDone = found > 0 || step == Step::GO_ON;
    if (!isDone && (code == MRB_ERR_NOT_SUPPORTED || code == MRB_ERR_PROTOCOL || code == MRB_ERR_IO)) {
        MRB_LOG_WARNING("DLNA search failed, reading containers instead: %s", result_.status.message.c_str());
        result_.status = {};
        fault_ = {};
        return Step::GO_ON;
    }
    return step;
}

DirectoryScan::Step DirectoryScan::walk() {
    visited_.insert(target_.container);
    pending_.push_back({target_.container, ROOT_FOLDER, 0});
    Step step = Step::GO_ON;
    while (step == Step::GO_ON && !pending_.empty()) {
        const Pending container = std::move(pending_.front());
        pending_.pop_front();
        if (container.level > MAX_LEVEL) {
            ++result_.tooDeep;
            continue;
        }
        std::int64_t found = 0;
        step = readPages({}, container, found);
    }
    return step;
}

// A server that is still indexing its files changes a container while it is read, and objects
// move to other positions. The container is then read again, for the objects that were missed.
DirectoryScan::Step DirectoryScan::readPages(dlna::BrowseRequest browseRequest, const Pending &container,
                                             std::int64_t &found) {
    browseRequest.container = container.id;
    browseRequest.count = PAGE_LENGTH;
    Reading reading;
    Step step = Step::GO_ON;
    int turn = 0;
    do {
        reading.hasChanged = false;
        reading.isAgain = turn > 0;
        browseRequest.start = 0;
        browseRequest.prefetch.reset();
        step = readOnce(browseRequest, container, reading);
        reading.end = std::max(reading.end, browseRequest.start);
    } while (step == Step::GO_ON && reading.hasChanged && ++turn < MAX_TURNS);
    found += reading.found;
    return step;
}

DirectoryScan::Step DirectoryScan::readOnce(dlna::BrowseRequest &browseRequest, const Pending &container,
                                            Reading &reading) {
    std::uint32_t total = 0; // of the previous page
    std::uint32_t updateId = 0;
    int barren = 0; // consecutive pages without a new object
    bool isFirst = true;
    for (;;) {
        Page page;
        browseRequest.expectsNextPage = total > browseRequest.start + browseRequest.count;
        Status status = browse(browseRequest, page);
        const std::optional<Taken> taken = take(page, container, reading);
        if (!taken) {
            return end(Status::cancelled());
        }
        reading.found += static_cast<std::int64_t>(taken->fresh);
        const auto given = static_cast<std::uint32_t>(page.objects.size());
        // The objects' XML of a page is malformed: only the objects that cannot be parsed are
        // lost.
        const bool isBroken = status.code == MRB_ERR_PROTOCOL && page.returned > 0;
        if (status.code == MRB_ERR_TIMEOUT && hasResult_ && browseRequest.count > SHORT_PAGE_LENGTH) {
            browseRequest.count = SHORT_PAGE_LENGTH; // a slow server can return so many in time
            browseRequest.prefetch.reset();
            continue;
        }
        if (!status.ok() && !isBroken) {
            return failed(std::move(status), container);
        }
        hasResult_ = true;
        if (browseRequest.kind == BrowseRequest::Kind::SEARCH && isFirst && page.total > 0) {
            sink_.setExpectedTotal(page.total);
        }
        reading.hasChanged =
            reading.hasChanged || (!isFirst && (page.total != total || page.updateId != updateId));
        isFirst = false;
        total = page.total;
        updateId = page.updateId;
        browseRequest.prefetch = std::move(page.prefetch);
        // The number that the server reports, unless it is impossible.
        const std::uint32_t said = page.returned <= std::max(browseRequest.count, given) ? page.returned : 0;
        if (isBroken) {
            note(status);
            if (said > given && !reading.isAgain) {
                result_.leaveOut(said - given, std::to_string(said - given) + " of the objects from " +
                                                   std::to_string(browseRequest.start) +
                                                   " of the container \"" + container.id + "\"");
            }
        } else if (page.returned != given) {
            note(container, "reports " + std::to_string(page.returned) + " objects on a page and returns " +
                                std::to_string(given));
        }
        browseRequest.start += std::max(said, given);
        if (taken->repeated > 0 && !reading.hasChanged && !reading.isAgain) {
            note(container, "returns objects twice");
        }
        const bool hasProgress = taken->fresh > 0 || (reading.isAgain && browseRequest.start <= reading.end);
        barren = hasProgress ? 0 : barren + 1;
        const bool isRepetition =
            taken->repeated > 0 && taken->fresh == 0 && !reading.hasChanged && !reading.isAgain;
        const bool isOver = std::max(said, given) == 0 || isRepetition || barren > MAX_BARREN_PAGES ||
                            browseRequest.start > MAX_OBJECTS;
        if (page.total > 0 && (isOver || browseRequest.start >= page.total)) {
            if (browseRequest.start != page.total && !reading.hasChanged && !reading.isAgain) {
                note(container, "reports a total of " + std::to_string(page.total) + " objects and returns " +
                                    std::to_string(browseRequest.start));
            }
            return Step::GO_ON;
        }
        if (isOver) {
            return Step::GO_ON;
        }
    }
}

std::optional<DirectoryScan::Taken> DirectoryScan::take(const Page &page, const Pending &container,
                                                        Reading &reading) {
    Taken taken;
    std::vector<SourceItem> run;
    std::vector<std::string> records; // of `run`; never reallocated
    run.reserve(page.objects.size());
    records.reserve(page.objects.size());
    for (const MediaObject &object : page.objects) {
        if (object.id.empty()) {
            if (!reading.isAgain) {
                leaveOut(object, container);
            }
            continue;
        }
        if (!reading.seen.insert(std::hash<std::string>()(object.id)).second) {
            ++taken.repeated;
            continue;
        }
        ++taken.fresh;
        const int type = itemTypeOf(object);
        if (type < 0 || (!object.isContainer && !sink_.wants(static_cast<std::uint8_t>(type)))) {
            continue;
        }
        if (isForSearch_ && !object.url.empty() &&
            !urls_.insert(std::hash<std::string>()(object.url)).second) {
            continue;
        }
        SourceItem item;
        item.name = object.title.empty() ? object.id : object.title;
        item.id = object.id;
        item.folder = container.folder;
        item.type = static_cast<std::uint8_t>(type);
        item.size = object.size;
        item.modified = secondsOfDate(object.date);
        item.extension = extensionOfUrl(object.url);
        records.push_back(packRecord(object));
        item.record = records.back();
        if (object.isContainer) {
            item.opens = sink_.addFolder(container.folder, item.name);
            if (item.opens < 0) {
                return std::nullopt;
            }
            if (visited_.insert(object.id).second) {
                pending_.push_back({object.id, item.opens, container.level + 1});
            }
        }
        run.push_back(item);
    }
    if (sink_.cancellation().isCancelled() || (!run.empty() && !sink_.add(run))) {
        return std::nullopt;
    }
    return taken;
}

// A server that is still indexing its files occasionally refuses a search as unsupported, and
// accepts it when it is repeated.
Status DirectoryScan::browse(const BrowseRequest &browseRequest, Page &page) {
    BrowseRequest whole = browseRequest;
    whole.server = target_.server;
    whole.timeout = target_.timeout;
    const CancellationToken &cancellation = sink_.cancellation();
    Status status = target_.contentClient.browse(whole, cancellation, page);
    whole.prefetch.reset();
    const bool isSearch = browseRequest.kind == BrowseRequest::Kind::SEARCH;
    for (int turn = 0; turn < MAX_RETRIES && isSearch && status.code == MRB_ERR_NOT_SUPPORTED; ++turn) {
        waitBeforeRetry();
        page = {};
        status = cancellation.isCancelled() ? Status::cancelled()
                                            : target_.contentClient.browse(whole, cancellation, page);
    }
    return status;
}

// The delay before a retry, in slices after which a list may be cancelled.
void DirectoryScan::waitBeforeRetry() const {
    constexpr auto SLICE = std::chrono::milliseconds(5);
    for (auto left = RETRY_DELAY; left.count() > 0 && !sink_.cancellation().isCancelled(); left -= SLICE) {
        std::this_thread::sleep_for(SLICE);
    }
}

// A container that cannot be read costs only its own contents, unless it is the one on which the
// list was opened, or the server is gone.
DirectoryScan::Step DirectoryScan::failed(Status status, const Pending &container) {
    const bool isOver = status.code == MRB_ERR_CANCELLED || status.code == MRB_ERR_DEVICE_REMOVED ||
                        status.code == MRB_ERR_TIMEOUT;
    if (isOver || container.level == 0) {
        return end(std::move(status));
    }
    MRB_LOG_WARNING("A container of a DLNA server was not read: %s", status.message.c_str());
    ++result_.unreadable;
    if (status.code == MRB_ERR_PROTOCOL) {
        note(std::move(status));
    }
    return Step::GO_ON;
}

// Remembers a server's fault that does not end the scan.
void DirectoryScan::note(Status fault) {
    if (fault_.ok()) {
        fault_ = std::move(fault);
    }
}

void DirectoryScan::note(const Pending &container, const std::string &fault) {
    note(Status::protocolError("The server " + fault + " in its container \"" + container.id + "\"."));
}

// An object without a usable id, which could not be requested again.
void DirectoryScan::leaveOut(const MediaObject &object, const Pending &container) {
    std::string name = object.title;
    if (name.empty()) {
        name = "an object of the container \"" + container.id + "\"";
    }
    if (result_.leftOutNames.size() < FillResult::MAX_NAMES) {
        MRB_LOG_WARNING("An object of a DLNA server has no usable id and is left out: %s", name.c_str());
    }
    result_.leaveOut(1, std::move(name));
}

DirectoryScan::Step DirectoryScan::end(Status status) {
    result_.status = std::move(status);
    return Step::END;
}

} // namespace mrb
