#include "session/item_resolver.h"

#include "mrb/agent.h"

namespace mrb {
namespace {

// Neither a blank nor a heading.
bool isSomewhere(const ItemFacts &facts) {
    return facts.type != MRB_ITEM_TYPE_GROUP && facts.type != MRB_ITEM_TYPE_EMPTY;
}

} // namespace

void ItemResolver::prepare() const {
    if (const std::string root = source_->watchedRoot(); !root.empty()) {
        paths(root);
    }
}

const MediaPaths &ItemResolver::paths(const std::string &root) const {
    std::call_once(pathsMade_, [&] { paths_.emplace(root); });
    return *paths_;
}

ItemLocation ItemResolver::locate(const ItemFacts &facts) const {
    return isSomewhere(facts) ? source_->locate(facts) : ItemLocation{};
}

std::optional<ToldFacts> ItemResolver::told(const ItemFacts &facts) const {
    return isSomewhere(facts) ? source_->told(facts) : std::nullopt;
}

MediaItem ItemResolver::mediaOf(const ItemFacts &facts) const {
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
        // Files of a source without a root folder may lie anywhere.
        const std::string root = source_->watchedRoot();
        item.name = facts.name;
        item.mount = source_->mountOf(facts);
        item.key = paths(root.empty() ? "/" : root).keyOf(item.path, facts.size, facts.modified);
    }
    return item;
}

} // namespace mrb
