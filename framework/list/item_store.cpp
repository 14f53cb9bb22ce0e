#include "list/item_store.h"

#include <algorithm>

#include "mrb/agent.h"

namespace mrb {
namespace {

constexpr std::int32_t NO_ITEM = -1;

} // namespace

ItemStore::ItemStore() { folders_.push_back({NO_FOLDER, 0, 0, false, NO_ITEM}); }

std::int32_t ItemStore::addFolder(std::int32_t parent, std::string_view name) {
    if (folders_.size() >= MOST_ITEMS || !hasRoom(name)) {
        return -1;
    }
    const auto start = static_cast<std::uint32_t>(text_.size());
    const std::uint16_t length = append(name);
    folders_.push_back({parent, start, length, false, NO_ITEM});
    return static_cast<std::int32_t>(folders_.size() - 1);
}

bool ItemStore::add(const SourceItem &item, bool passes) {
    if (items_.size() >= MOST_ITEMS || !hasRoom(item.name) || !hasRoom(item.id)) {
        return false;
    }
    const auto start = static_cast<std::uint32_t>(text_.size());
    const std::uint16_t nameLength = append(item.name);
    const std::uint16_t idLength = append(item.id);
    items_.push_back({item.size, item.modified, item.created, start, item.folder, nameLength, idLength,
                      item.type, passes});
    if (item.opens > ROOT_FOLDER && item.opens < folders()) {
        folders_[static_cast<std::size_t>(item.opens)].item = size() - 1;
        if (passes) {
            markWorthEntering(item.opens);
        }
    }
    if (passes) {
        ++passed_;
        markWorthEntering(item.folder);
    }
    return true;
}

// Stops at the first folder that is marked, whose parents are too, so that each
// folder is marked once however many items it holds.
void ItemStore::markWorthEntering(std::int32_t folder) {
    while (folder > ROOT_FOLDER && folder < folders()) {
        Folder &entry = folders_[static_cast<std::size_t>(folder)];
        if (entry.isWorthEntering) {
            return;
        }
        entry.isWorthEntering = true;
        folder = parent(folder);
    }
}

std::int32_t ItemStore::parent(std::int32_t folder) const {
    // A folder's parent was there before it; whatever a source says, walks up end.
    return std::min(folders_.at(static_cast<std::size_t>(folder)).parent, folder - 1);
}

bool ItemStore::isWorthEntering(std::int32_t folder) const {
    return folders_.at(static_cast<std::size_t>(folder)).isWorthEntering;
}

std::int32_t ItemStore::itemOfFolder(std::int32_t folder) const {
    return folders_.at(static_cast<std::size_t>(folder)).item;
}

std::int32_t ItemStore::folderOfItem(std::int32_t number) const {
    const auto found = std::ranges::find(folders_, number, &Folder::item);
    return found == folders_.end() ? NO_FOLDER : static_cast<std::int32_t>(found - folders_.begin());
}

std::string_view ItemStore::name(std::int32_t number) const {
    const Item &item = at(number);
    return std::string_view(text_).substr(item.text, item.nameLength);
}

ItemFacts ItemStore::facts(std::int32_t number) const {
    const Item &item = at(number);
    ItemFacts facts;
    facts.name.assign(text_, item.text, item.nameLength);
    facts.id.assign(text_, std::size_t{item.text} + item.nameLength, item.idLength);
    facts.folder = folderPath(item.folder);
    facts.type = item.type;
    facts.size = item.size;
    facts.modified = item.modified;
    facts.created = item.created;
    return facts;
}

bool ItemStore::is(std::int32_t index, std::int32_t folder, std::string_view name) const {
    const Item &item = items_[static_cast<std::size_t>(index)];
    return item.folder == folder && std::string_view(text_).substr(item.text, item.nameLength) == name;
}

ItemFacts ItemStore::folderFacts(std::int32_t folder) const {
    if (const std::int32_t item = itemOfFolder(folder); item >= 0) {
        return facts(item);
    }
    ItemFacts facts;
    facts.type = MRB_ITEM_TYPE_FOLDER;
    if (folder > ROOT_FOLDER) {
        facts.name = nameOfFolder(folder);
        facts.folder = folderPath(parent(folder));
    }
    return facts;
}

bool ItemStore::isItem(std::int32_t number, const ItemFacts &wanted) const {
    const Item &item = at(number);
    const std::string_view text = text_;
    if (!wanted.id.empty()) {
        return text.substr(std::size_t{item.text} + item.nameLength, item.idLength) == wanted.id;
    }
    return text.substr(item.text, item.nameLength) == wanted.name && isFolder(item.folder, wanted.folder);
}

std::string_view ItemStore::nameOfFolder(std::int32_t folder) const {
    const Folder &entry = folders_.at(static_cast<std::size_t>(folder));
    return std::string_view(text_).substr(entry.text, entry.nameLength);
}

// From the end, where most paths differ at once.
bool ItemStore::isFolder(std::int32_t folder, std::string_view path) const {
    while (folder > ROOT_FOLDER) {
        const std::string_view name = nameOfFolder(folder);
        if (!path.ends_with(name)) {
            return false;
        }
        path.remove_suffix(name.size());
        folder = parent(folder);
        if (folder > ROOT_FOLDER) {
            if (!path.ends_with('/')) {
                return false;
            }
            path.remove_suffix(1);
        }
    }
    return path.empty();
}

bool ItemStore::hasRoom(std::string_view text) const { return text_.size() + text.size() <= MOST_TEXT; }

std::uint16_t ItemStore::append(std::string_view text) {
    text = text.substr(0, LONGEST_TEXT);
    text_.append(text);
    return static_cast<std::uint16_t>(text.size());
}

std::string ItemStore::folderPath(std::int32_t folder) const {
    std::vector<std::string_view> names;
    for (; folder > ROOT_FOLDER; folder = parent(folder)) {
        names.push_back(nameOfFolder(folder));
    }
    std::string path;
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        path.append(path.empty() ? "" : "/").append(*name);
    }
    return path;
}

} // namespace mrb
