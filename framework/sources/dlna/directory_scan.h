#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <unordered_set>

#include "dlna/content_directory_client.h"
#include "sources/source.h"

namespace mrb {

// Reads a server's content directory into a list once: by a search where the server can search
// for the list's items, else container by container in breadth-first order. The server may be
// wrong, repeat itself and never end: objects that it returned are kept, no container is read
// twice, and reading ends after too many pages without a new object. Owned and used by the thread
// that fills the list.
class DirectoryScan {
  public:
    static constexpr std::uint32_t PAGE_LENGTH = 500;
    // The deepest container that is read, counted from the scanned one (level 0).
    static constexpr int MAX_LEVEL = 50;

    // The maximum of objects in a container; a larger one is not read further.
    static constexpr std::uint32_t MAX_OBJECTS = 2'000'000;

    // For a server that has answered before and is too slow for PAGE_LENGTH objects.
    static constexpr std::uint32_t SHORT_PAGE_LENGTH = 50;

    // How often a container that changes while it is read is read.
    static constexpr int MAX_TURNS = 3;

    // How many consecutive pages may be without a new object.
    static constexpr int MAX_BARREN_PAGES = 20;

    // How often a refused search is retried, and the delay before each retry.
    static constexpr int MAX_RETRIES = 3;
    static constexpr auto RETRY_DELAY = std::chrono::milliseconds(150);

    // The container to be read. All members must outlive the scan.
    struct Target {
        dlna::ContentDirectoryClient &contentClient;
        const std::string &server;
        const std::string &container;
        std::chrono::milliseconds timeout; // the timeout of one page
    };

    DirectoryScan(ItemSink &sink, const Target &target) : sink_(sink), target_(target) {}

    FillResult run(const ListRequest &request);

  private:
    // A container to be read.
    struct Pending {
        std::string id;
        std::int32_t folder;
        int level;
    };

    // The result of a step: go on, or end the scan with the status of result_.
    enum class Step { GO_ON, END };

    Step search(const ListRequest &request, bool &isDone);
    Step walk();
    Step readPages(dlna::BrowseRequest browseRequest, const Pending &container, std::int64_t &found);
    // The objects of a page.
    struct Taken {
        std::size_t fresh = 0;    // objects that were not seen before
        std::size_t repeated = 0; // objects that were
    };
    using Seen = std::unordered_set<std::size_t>; // hashes of ids, or of URLs
    // The progress in a container.
    struct Reading {
        Seen seen; // ids
        std::int64_t found = 0;
        std::uint32_t end = 0;   // the largest position reached before
        bool hasChanged = false; // since reading began
        bool isAgain = false;    // a further turn, for objects that were missed
    };
    Step readOnce(dlna::BrowseRequest &browseRequest, const Pending &container, Reading &reading);
    // No value: the list is full or was cancelled.
    std::optional<Taken> take(const dlna::Page &page, const Pending &container, Reading &reading);
    Status browse(const dlna::BrowseRequest &browseRequest, dlna::Page &page);
    void waitBeforeRetry() const;
    Step failed(Status status, const Pending &container);
    void note(Status fault);
    void note(const Pending &container, const std::string &fault);
    void leaveOut(const dlna::MediaObject &object, const Pending &container);
    Step end(Status status);

    ItemSink &sink_;
    const Target target_;
    std::deque<Pending> pending_;
    std::unordered_set<std::string> visited_; // ids of containers, including pending ones
    // Set when containers are walked in place of a search: an item counts once, although a server
    // shows it by album, by date and by folder, each time with another id.
    bool isForSearch_ = false;
    Seen urls_; // URLs of the items in that case
    bool hasResult_ = false;
    Status fault_; // the first fault that did not end the scan
    FillResult result_;
};

} // namespace mrb
