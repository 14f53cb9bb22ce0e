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

#include "base/cancellation.h"
#include "base/mount_identity.h"
#include "base/result.h"
#include "list/list_request.h"
#include "media/item.h"
#include "metadata/metadata.h"

namespace mrb {

struct Device;

// Receives the items of a source. Called by the source's own thread only.
class ItemSink {
  public:
    virtual ~ItemSink() = default;

    // True for item types that the list wants; others may be left out, or are dropped. Folders
    // are always added, since clients can browse lists by folder.
    [[nodiscard]] virtual bool wants(std::uint8_t type) const = 0;

    // Cancelled as soon as the source should return; polled for every entry that it reads. Lives as
    // long as the sink.
    [[nodiscard]] virtual const CancellationToken &cancellation() const = 0;

    // Sets the expected number of items, where that is known before they are added.
    virtual void setExpectedTotal(std::int64_t total) = 0;

    // Adds a folder in which items can lie, wanted or not. Returns its number for
    // SourceItem::folder; negative: the list is full, return.
    virtual std::int32_t addFolder(std::int32_t parent, std::string_view name) = 0;

    // Called before the source reads the open folder `descriptor`, known by its number, or the
    // source's own file; it may be watched for changes from then on.
    virtual void aboutToRead(std::int32_t /*folder*/, int /*descriptor*/) {}

    // Appends a run of items. False: the list is full or was cancelled, return.
    [[nodiscard]] virtual bool add(std::span<const SourceItem> items) = 0;
};

// The result of filling a list, and what was left out.
struct FillResult {
    // The maximum of names for items that were left out.
    static constexpr std::size_t MAX_NAMES = 10;

    // Counts items that cannot be used; `name` describes them.
    void leaveOut(std::int64_t count, std::string name) {
        leftOut += count;
        if (leftOutNames.size() < MAX_NAMES) {
            leftOutNames.push_back(std::move(name));
        }
    }

    Status status;
    std::int64_t unreadable = 0;                // folders that could not be read completely
    std::int64_t tooDeep = 0;                   // folders too deep to be read
    std::int64_t leftOut = 0;                   // items of the source that cannot be used
    std::vector<std::string> leftOutNames = {}; // of the first of them; UTF-8
};

// Metadata from a source, such as a playlist's about its entries and a server's about its
// objects. Metadata from the item itself take precedence, where it can be read.
struct SourceMetadata {
    Metadata metadata = {};
    bool isMissing = false; // the source names it, but it does not exist
};

// A source of a list's items: a folder, a server, a camera, a playlist. Owned by the session of
// one list. `fill` is called once, on a thread that may wait for devices; `locationOf`, `checkAvailable` and
// `findByMediaId` on any thread, also while `fill` runs, so they may only use what never changes after
// construction, or is protected by a lock.
class Source {
  public:
    virtual ~Source() = default;

    // Adds all items to `sink` and returns when that is done, failed, or cancelled.
    virtual FillResult fill(ItemSink &sink) = 0;

    // `item` may be the source itself, as a folder without a name.
    [[nodiscard]] virtual ItemLocation locationOf(const ItemInfo &item) const = 0;

    // Whether the item still exists, as far as that is known without waiting for another machine.
    // MRB_ERR_NOT_FOUND: it is gone.
    [[nodiscard]] virtual Status checkAvailable(const ItemInfo & /*item*/) const { return {}; }
    // The exact bytes of the path of the item's file on this machine, or its URL on a camera, see
    // MediaFile; empty where there is none.
    [[nodiscard]] virtual std::string filePath(const ItemInfo & /*item*/) const { return {}; }

    // The mount on which the folder of a local file was when it was listed: on another mount, the
    // same path is another file. Unknown: not a local file.
    [[nodiscard]] virtual MountIdentity mountOf(const ItemInfo & /*item*/) const { return {}; }

    // Whether items may be local files that lie in different folders, each at its `filePath`, and
    // can be copied from there.
    [[nodiscard]] virtual bool hasScatteredFiles() const { return false; }

    // The source's metadata of an item. No value: the source has only what the list holds. `item`
    // may be the source itself.
    [[nodiscard]] virtual std::optional<SourceMetadata> sourceMetadata(const ItemInfo & /*item*/) const {
        return {};
    }

    // The path of the folder whose files the list shows, to be watched while the list is open;
    // empty where there is none. Never changes.
    [[nodiscard]] virtual std::string watchedRoot() const { return {}; }

    // The path, with links resolved, of the one file from which the list is read, to be watched
    // likewise; empty where there is none. Never changes.
    [[nodiscard]] virtual std::string watchedFile() const { return {}; }

    // The device of the list, whose removal is reported while the list is open; null: none. Never
    // changes.
    [[nodiscard]] virtual const Device *device() const { return nullptr; }

    // The item of a media id: the source's own id, or name and folder. No value: the source has
    // no such item.
    [[nodiscard]] virtual std::optional<ItemInfo> findByMediaId(const std::string &mediaId) const = 0;
};

// Creates the source that `request` names and checks that it is available.
Status makeSource(const ListRequest &request, std::unique_ptr<Source> &source);

} // namespace mrb
