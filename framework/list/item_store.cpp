#include "list/item_store.h"

#include "mrb/agent.h"

namespace mrb {
namespace {

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

std::int32_t ItemStore::addFolder(std::int32_t parent, std::string_view name) {
    return hasRoom(0, cut(name).size()) ? folders_.add(parent, name) : -1;
}

bool ItemStore::add(const SourceItem &item, bool matches) {
    const std::string_view name = cut(item.name);
    // A record that does not fit is dropped: the id alone identifies the item.
    const bool hasRecord =
        !item.record.empty() && LENGTH_BYTES + item.id.size() + item.record.size() <= MAX_TEXT_LENGTH;
    const std::string behind = hasRecord ? packed(item.id, item.record) : std::string();
    const std::string_view id = hasRecord ? behind : cut(item.id);
    if (items_.size() >= MAX_ITEMS || !hasRoom(name.size() + id.size(), 0)) {
        return false;
    }
    items_.push_back({item.size, item.modified, item.created, text_.add(name, id),
                      folders_.orRoot(item.folder), static_cast<std::uint16_t>(name.size()),
                      static_cast<std::uint16_t>(id.size()), firstLetter(name) & LETTER_BITS, item.type,
                      matches, hasRecord});
    if (item.opens > ROOT_FOLDER && item.opens < folders_.size()) {
        folders_.setItem(item.opens, size() - 1);
        if (matches) {
            folders_.setHasMatches(item.opens);
        }
    }
    if (matches) {
        ++matchCount_;
        folders_.setHasMatches(folders_.orRoot(item.folder));
    }
    return true;
}

std::string_view ItemStore::name(std::int32_t number) const {
    const Item &item = itemAt(number);
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
    const Item &item = itemAt(number);
    ItemInfo info = infoWithoutText(number);
    info.name = name(number);
    info.id = idOf(item);
    info.record = recordOf(item);
    info.folder = folders_.path(item.folder);
    return info;
}

ItemInfo ItemStore::infoWithoutText(std::int32_t number) const {
    const Item &item = itemAt(number);
    ItemInfo info;
    info.type = item.type;
    info.size = item.size;
    info.modified = item.modified;
    info.created = item.created;
    return info;
}

ItemInfo ItemStore::folderInfo(std::int32_t folder) const {
    if (const std::int32_t item = folders_.item(folder); item >= 0) {
        return info(item);
    }
    ItemInfo info;
    info.type = MRB_ITEM_TYPE_FOLDER;
    if (folder > ROOT_FOLDER) {
        info.name = folders_.name(folder);
        info.folder = folders_.path(folders_.parent(folder));
    }
    return info;
}

bool ItemStore::isItem(std::int32_t number, const ItemInfo &info) const {
    const Item &item = itemAt(number);
    if (!info.id.empty()) {
        return item.idLength >= info.id.size() && idOf(item) == info.id;
    }
    return item.nameLength == info.name.size() && name(number) == info.name &&
           folders_.hasPath(item.folder, info.folder);
}

bool ItemStore::isItem(std::int32_t number, std::int32_t folder, std::string_view name) const {
    const Item &item = itemAt(number);
    return item.folder == folder && item.nameLength == name.size() && this->name(number) == name;
}

} // namespace mrb
