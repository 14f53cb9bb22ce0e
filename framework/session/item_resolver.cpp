#include "session/item_resolver.h"

#include "mrb/agent.h"

namespace mrb {
namespace {

// Neither a blank nor a heading.
bool isSomewhere(const ItemInfo &info) {
    return info.type != MRB_ITEM_TYPE_GROUP && info.type != MRB_ITEM_TYPE_EMPTY;
}

} // namespace

void ItemResolver::prepare() const {
    if (const std::string root = source_->watchedRoot(); !root.empty()) {
        paths(root);
    }
}

const StorageKeyMap &ItemResolver::paths(const std::string &root) const {
    std::call_once(pathsMade_, [&] { paths_.emplace(root); });
    return *paths_;
}

ItemLocation ItemResolver::locationOf(const ItemInfo &info) const {
    return isSomewhere(info) ? source_->locationOf(info) : ItemLocation{};
}

std::optional<SourceMetadata> ItemResolver::sourceMetadata(const ItemInfo &info) const {
    return isSomewhere(info) ? source_->sourceMetadata(info) : std::nullopt;
}

MediaItem ItemResolver::mediaOf(const ItemInfo &info) const {
    switch (info.type) {
    case MRB_ITEM_TYPE_FOLDER:
    case MRB_ITEM_TYPE_UPFOLDER:
    case MRB_ITEM_TYPE_GROUP:
    case MRB_ITEM_TYPE_EMPTY:
        return {};
    default:
        break;
    }
    MediaItem item;
    if (std::optional<SourceMetadata> sourceMetadata = source_->sourceMetadata(info)) {
        item.sourceMetadata = std::move(sourceMetadata->metadata);
    }
    item.path = source_->filePath(info);
    if (!item.path.empty()) {
        // Files of a source without a root folder may lie anywhere.
        const std::string root = source_->watchedRoot();
        item.name = info.name;
        item.mount = source_->mountOf(info);
        item.key = paths(root.empty() ? "/" : root).keyOf(item.path, info.size, info.modified);
    }
    return item;
}

} // namespace mrb
