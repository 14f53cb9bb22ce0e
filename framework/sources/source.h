#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/mount_identity.h"
#include "base/result.h"
#include "list/list_request.h"
#include "media/item.h"
#include "metadata/facts.h"

namespace mrb {

struct Device;

// Where a source puts what it finds. Called by the source's own thread only.
class ItemSink {
  public:
    virtual ~ItemSink() = default;

    // True for item types that the list wants; others may be left out, or are
    // dropped. Folders are always told, since lists can be walked by them.
    [[nodiscard]] virtual bool wants(std::uint8_t type) const = 0;

    // True as soon as the source should return; asked for every entry that it looks at.
    [[nodiscard]] virtual bool stopped() const = 0;

    // Says how many items there will be, where that is known before they are here.
    virtual void announce(std::int64_t total) = 0;

    // Makes a folder known that items can lie in, wanted or not. The number is
    // for SourceItem::folder; negative: the list is full, return.
    virtual std::int32_t addFolder(std::int32_t parent, std::string_view name) = 0;

    // Says that the open folder `descriptor`, known by its number, or the source's own file,
    // is about to be read; it may be watched for changes from now on.
    virtual void follow(std::int32_t /*folder*/, int /*descriptor*/) {}

    // Appends a run of items. False: the list is full or was stopped, return.
    [[nodiscard]] virtual bool add(std::span<const SourceItem> items) = 0;
};

// How filling a list ended, and what was left out on the way.
struct FillResult {
    // So many of what was left out are named.
    static constexpr std::size_t MAX_NAMES = 10;

    // Counts items that cannot be used; `name` says which they are.
    void leaveOut(std::int64_t count, std::string name) {
        leftOut += count;
        if (leftOutNames.size() < MAX_NAMES) {
            leftOutNames.push_back(std::move(name));
        }
    }

    Status outcome;
    std::int64_t unreadable = 0;                // folders that could not be read, or not to their end
    std::int64_t tooDeep = 0;                   // folders too far down to be read
    std::int64_t leftOut = 0;                   // items that the source gave and that cannot be used
    std::vector<std::string> leftOutNames = {}; // of the first of them; UTF-8
};

// What a source says of an item's contents, as a playlist does of its entries and a
// server of its objects. The item itself knows better, where it can be read.
struct ToldFacts {
    Metadata metadata = {};
    bool isMissing = false; // the source names it, but it is not there
};

// Something that a list can be filled from: a folder, a server, a camera, a
// playlist. Owned by the session of one list. `fill` is called once, on a thread
// that may wait for devices; `locate`, `reach` and `identify` on any thread, also while
// `fill` runs, so they may only use what never changes after construction, or is behind a lock.
class Source {
  public:
    virtual ~Source() = default;

    // Hands everything to `sink` and returns when that is done, failed, or stopped.
    virtual FillResult fill(ItemSink &sink) = 0;

    // `item` may be the source itself, as a folder without a name.
    [[nodiscard]] virtual ItemLocation locate(const ItemFacts &item) const = 0;

    // Whether the item is still there, as far as that can be said without waiting for
    // another machine. MRB_ERR_NOT_FOUND: it is gone.
    [[nodiscard]] virtual Status reach(const ItemFacts & /*item*/) const { return {}; }
    // The exact bytes of the path under which this machine has the item as a file, or its URL
    // where that lies on a camera, see MediaFile; empty where there is none.
    [[nodiscard]] virtual std::string filePath(const ItemFacts & /*item*/) const { return {}; }

    // The mount on which the folder of a file of this machine was when it was listed: what
    // lies at its path on another one is another file. Not known: no such file.
    [[nodiscard]] virtual MountIdentity mountOf(const ItemFacts & /*item*/) const { return {}; }

    // Whether items may be files of this machine that lie in no one folder, each at its
    // `filePath`, and can be copied from there.
    [[nodiscard]] virtual bool namesFiles() const { return false; }

    // No value: the source says nothing beside what lists hold. `item` may be the source itself.
    [[nodiscard]] virtual std::optional<ToldFacts> told(const ItemFacts & /*item*/) const { return {}; }

    // The path of the folder on whose files the list stands, to be watched while the
    // list is open; empty where there is none. Never changes.
    [[nodiscard]] virtual std::string watchedRoot() const { return {}; }

    // The path without links of the one file that the list is read from, to be watched
    // likewise; empty where there is none. Never changes.
    [[nodiscard]] virtual std::string watchedFile() const { return {}; }

    // The device on which the list stands, whose removal is told while the list is open; null:
    // none. Never changes.
    [[nodiscard]] virtual const Device *device() const { return nullptr; }

    // What a media id says of its item: the source's own id, or name and folder.
    // No value: no item of this source has it.
    [[nodiscard]] virtual std::optional<ItemFacts> identify(const std::string &mediaId) const = 0;
};

// Makes the source that `request` names and checks that it can be reached.
Status makeSource(const ListRequest &request, std::unique_ptr<Source> &source);

} // namespace mrb
