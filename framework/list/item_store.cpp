#include "list/item_store.h"

#include <algorithm>

namespace mrb {

ItemStore::ItemStore() { folders_.push_back({-1, 0, 0}); }

std::int32_t ItemStore::addFolder(std::int32_t parent, std::string_view name) {
    if (folders_.size() >= MOST_ITEMS || !hasRoom(name)) {
        return -1;
    }
    const auto start = static_cast<std::uint32_t>(text_.size());
    const std::uint16_t length = append(name);
    folders_.push_back({parent, start, length});
    return static_cast<std::int32_t>(folders_.size() - 1);
}

bool ItemStore::add(const SourceItem &item) {
    if (items_.size() >= MOST_ITEMS || !hasRoom(item.name) || !hasRoom(item.id)) {
        return false;
    }
    const auto start = static_cast<std::uint32_t>(text_.size());
    const std::uint16_t nameLength = append(item.name);
    const std::uint16_t idLength = append(item.id);
    items_.push_back(
        {item.size, item.modified, item.created, start, item.folder, nameLength, idLength, item.type});
    ++counts_.at(item.type);
    return true;
}

std::int32_t ItemStore::count(unsigned type) const { return type < counts_.size() ? counts_.at(type) : 0; }

ItemFacts ItemStore::facts(std::int32_t index) const {
    const Item &item = items_[static_cast<std::size_t>(index)];
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

bool ItemStore::hasRoom(std::string_view text) const { return text_.size() + text.size() <= MOST_TEXT; }

std::uint16_t ItemStore::append(std::string_view text) {
    text = text.substr(0, LONGEST_TEXT);
    text_.append(text);
    return static_cast<std::uint16_t>(text.size());
}

std::string ItemStore::folderPath(std::int32_t number) const {
    std::vector<std::string_view> names;
    while (number > ROOT_FOLDER) {
        const Folder &folder = folders_.at(static_cast<std::size_t>(number));
        names.push_back(std::string_view(text_).substr(folder.text, folder.nameLength));
        // A folder's parent was there before it, so this ends.
        number = std::min(folder.parent, number - 1);
    }
    std::string path;
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        path.append(path.empty() ? "" : "/").append(*name);
    }
    return path;
}

} // namespace mrb
