#include "list/item_store.h"

#include "mrb/agent.h"

namespace mrb {
namespace {

constexpr std::int32_t NO_ITEM = -1;

std::string_view cut(std::string_view text) { return text.substr(0, ItemStore::MAX_TEXT_LENGTH); }

// An id with a record: the id's length in two bytes (little-endian), then the id, then the record.
constexpr std::size_t LENGTH_BYTES = 2;

std::string packed(std::string_view id, std::string_view record) {
    std::string text;
    text.reserve(LENGTH_BYTES + id.size() + record.size());
    text += static_cast<char>(id.size() & 0xffU);
    text += static_cast<char>(id.size() >> 8U);
    return text.append(id).append(record);
}

std::size_t packedLength(std::string_view text) {
    return static_cast<unsigned char>(text[0]) + 256UL * static_cast<unsigned char>(text[1]);
}

} // namespace

ItemStore::ItemStore() { folders_.push_back({NO_FOLDER, 0, 0, false, NO_ITEM}); }

std::int32_t ItemStore::addFolder(std::int32_t parent, std::string_view name) {
    name = cut(name);
    if (folders_.size() >= MAX_ITEMS || !hasRoom(name.size())) {
        return -1;
    }
    folders_.push_back(
        {known(parent), text_.add(name), static_cast<std::uint16_t>(name.size()), false, NO_ITEM});
    return folders() - 1;
}

bool ItemStore::add(const SourceItem &item, bool matches) {
    const std::string_view name = cut(item.name);
    // A record that does not fit is dropped: the id alone identifies the item.
    const bool hasRecord =
        !item.record.empty() && LENGTH_BYTES + item.id.size() + item.record.size() <= MAX_TEXT_LENGTH;
    const std::string behind = hasRecord ? packed(item.id, item.record) : std::string();
    const std::string_view id = hasRecord ? behind : cut(item.id);
    if (items_.size() >= MAX_ITEMS || !hasRoom(name.size() + id.size())) {
        return false;
    }
    items_.push_back({item.size, item.modified, item.created, text_.add(name, id), known(item.folder),
                      static_cast<std::uint16_t>(name.size()), static_cast<std::uint16_t>(id.size()),
                      firstLetter(name) & LETTER_BITS, item.type, matches, hasRecord});
    if (item.opens > ROOT_FOLDER && item.opens < folders()) {
        folders_[static_cast<std::size_t>(item.opens)].item = size() - 1;
        if (matches) {
            markWorthEntering(item.opens);
        }
    }
    if (matches) {
        ++matchCount_;
        markWorthEntering(known(item.folder));
    }
    return true;
}

// A folder that the source has not added counts as the source's root folder.
std::int32_t ItemStore::known(std::int32_t folder) const {
    return folder > ROOT_FOLDER && folder < folders() ? folder : ROOT_FOLDER;
}

// Stops at the first folder that is marked, whose parents are marked too, so that each
// folder is marked once however many items it holds.
void ItemStore::markWorthEntering(std::int32_t folder) {
    while (folder > ROOT_FOLDER) {
        Folder &entry = folders_[static_cast<std::size_t>(folder)];
        if (entry.hasMatches) {
            return;
        }
        entry.hasMatches = true;
        folder = parent(folder);
    }
}

std::int32_t ItemStore::parent(std::int32_t folder) const {
    return folders_[static_cast<std::size_t>(folder)].parent;
}

bool ItemStore::hasMatches(std::int32_t folder) const {
    return folders_[static_cast<std::size_t>(folder)].hasMatches;
}

std::int32_t ItemStore::itemOfFolder(std::int32_t folder) const {
    return folders_[static_cast<std::size_t>(folder)].item;
}

std::int32_t ItemStore::folderOfItem(std::int32_t number) const {
    for (std::int32_t folder = 0; folder < folders(); ++folder) {
        if (itemOfFolder(folder) == number) {
            return folder;
        }
    }
    return NO_FOLDER;
}

std::string_view ItemStore::name(std::int32_t number) const {
    const Item &item = at(number);
    return text_.at(item.text, item.nameLength);
}

std::string_view ItemStore::idOf(const Item &item) const {
    const std::string_view behind = text_.at(item.text + item.nameLength, item.idLength);
    return item.hasRecord ? behind.substr(LENGTH_BYTES, packedLength(behind)) : behind;
}

std::string_view ItemStore::recordOf(const Item &item) const {
    if (!item.hasRecord) {
        return {};
    }
    const std::string_view behind = text_.at(item.text + item.nameLength, item.idLength);
    return behind.substr(LENGTH_BYTES + packedLength(behind));
}

ItemInfo ItemStore::info(std::int32_t number) const {
    const Item &item = at(number);
    ItemInfo info = infoWithoutText(number);
    info.name = name(number);
    info.id = idOf(item);
    info.record = recordOf(item);
    info.folder = folderPath(item.folder);
    return info;
}

ItemInfo ItemStore::infoWithoutText(std::int32_t number) const {
    const Item &item = at(number);
    ItemInfo info;
    info.type = item.type;
    info.size = item.size;
    info.modified = item.modified;
    info.created = item.created;
    return info;
}

bool ItemStore::is(std::int32_t index, std::int32_t folder, std::string_view name) const {
    const Item &item = at(index);
    return item.folder == folder && item.nameLength == name.size() && this->name(index) == name;
}

ItemInfo ItemStore::folderInfo(std::int32_t folder) const {
    if (const std::int32_t item = itemOfFolder(folder); item >= 0) {
        return info(item);
    }
    ItemInfo info;
    info.type = MRB_ITEM_TYPE_FOLDER;
    if (folder > ROOT_FOLDER) {
        info.name = nameOfFolder(folder);
        info.folder = folderPath(parent(folder));
    }
    return info;
}

bool ItemStore::isItem(std::int32_t number, const ItemInfo &wanted) const {
    const Item &item = at(number);
    if (!wanted.id.empty()) {
        return item.idLength >= wanted.id.size() && idOf(item) == wanted.id;
    }
    return item.nameLength == wanted.name.size() && name(number) == wanted.name &&
           isFolder(item.folder, wanted.folder);
}

std::string_view ItemStore::nameOfFolder(std::int32_t folder) const {
    const Folder &entry = folders_[static_cast<std::size_t>(folder)];
    return text_.at(entry.text, entry.nameLength);
}

// Compares from the end, where most paths differ at once.
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
