#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <unordered_set>

#include "dlna/directories.h"
#include "sources/source.h"

namespace mrb {

// One reading of a server's content directory into a list: by a search where the server
// can look for what the list wants, else container by container, those nearer to the top
// first. The server may lie, repeat itself and never end: what it gave is kept, no
// container is read twice, and every page must bring something new. Owned and used by
// the thread that fills the list.
class DirectoryScan {
  public:
    static constexpr std::uint32_t PAGE_LENGTH = 500;
    // The deepest container that is read, counted from the scanned one (level 0).
    static constexpr int DEEPEST_LEVEL = 50;

    // No container holds more; one that does is not read further.
    static constexpr std::uint32_t MOST_OBJECTS = 2'000'000;

    // Of a server that has answered before and is too slow for that many.
    static constexpr std::uint32_t SHORT_PAGE_LENGTH = 50;

    // A container that changes while it is read is read so often.
    static constexpr int MAX_TURNS = 3;

    // So many pages in a row may hold nothing that can be used.
    static constexpr int MAX_BARREN_PAGES = 20;

    // A search that is refused is asked for so often again, with so long between.
    static constexpr int MORE_TURNS = 3;
    static constexpr auto PAUSE = std::chrono::milliseconds(150);

    // Where to read: a container of a server. All must outlive the scan.
    struct Place {
        dlna::Directories &directories;
        const std::string &server;
        const std::string &container;
        std::chrono::milliseconds patience; // for one page
    };

    DirectoryScan(ItemSink &sink, const Place &place) : sink_(sink), place_(place) {}

    FillResult run(const ListRequest &request);

  private:
    // A container that is still to be read.
    struct Pending {
        std::string id;
        std::int32_t folder;
        int level;
    };

    // What became of a step: go on, or end the scan with result_.outcome.
    enum class Step { GO_ON, END };

    Step search(const ListRequest &request, bool &isDone);
    Step walk();
    Step readPages(dlna::Question question, const Pending &container, std::int64_t &found);
    // What a page brought.
    struct Taken {
        std::size_t fresh = 0;    // objects that were not seen before
        std::size_t repeated = 0; // and that were
    };
    using Seen = std::unordered_set<std::size_t>; // hashes of ids, or of URLs
    // How far a container is read.
    struct Reading {
        Seen seen; // ids
        std::int64_t found = 0;
        std::uint32_t end = 0;   // where it ended before
        bool hasChanged = false; // since it was begun
        bool isAgain = false;    // for what was missed
    };
    Step readOnce(dlna::Question &question, const Pending &container, Reading &reading);
    // No value: the list takes no more.
    std::optional<Taken> take(const dlna::Page &page, const Pending &container, Reading &reading);
    Status ask(const dlna::Question &question, dlna::Page &page);
    void rest() const;
    Step failed(Status outcome, const Pending &container);
    void note(Status fault);
    void note(const Pending &container, const std::string &fault);
    void leaveOut(const dlna::MediaObject &object, const Pending &container);
    Step end(Status outcome);

    ItemSink &sink_;
    const Place place_;
    std::deque<Pending> pending_;
    std::unordered_set<std::string> visited_; // ids of containers, also of those pending
    // A walk in place of a search finds each thing once, though a server shows it by album,
    // by date and by folder, each time under another id.
    bool isForSearch_ = false;
    Seen urls_; // of the items, if so
    bool hasAnswered_ = false;
    Status fault_; // the first that did not end the scan
    FillResult result_;
};

} // namespace mrb
