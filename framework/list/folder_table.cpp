#include "list/folder_table.h"

#include <vector>

namespace mrb {
namespace {

constexpr std::int32_t NO_ITEM = -1;

} // namespace

FolderTable::FolderTable() { folders_.push_back({NO_FOLDER, 0, 0, false, NO_ITEM}); }

std::int32_t FolderTable::add(std::int32_t parent, std::string_view name) {
    name = name.substr(0, MAX_NAME_LENGTH);
    if (size() >= MAX_FOLDERS || textBytesWith(name.size()) > MAX_TEXT_BYTES) {
        return -1;
    }
    folders_.push_back(
        {orRoot(parent), text_.add(name), static_cast<std::uint16_t>(name.size()), false, NO_ITEM});
    return size() - 1;
}

std::string_view FolderTable::name(std::int32_t folder) const {
    const Folder &entry = folderAt(folder);
    return text_.at(entry.text, entry.nameLength);
}

std::string FolderTable::path(std::int32_t folder) const {
    std::vector<std::string_view> names;
    for (; folder > ROOT_FOLDER; folder = parent(folder)) {
        names.push_back(name(folder));
    }
    std::string path;
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        path.append(path.empty() ? "" : "/").append(*name);
    }
    return path;
}

// Compares from the end, where most paths differ at once.
bool FolderTable::hasPath(std::int32_t folder, std::string_view path) const {
    while (folder > ROOT_FOLDER) {
        const std::string_view last = name(folder);
        if (!path.ends_with(last)) {
            return false;
        }
        path.remove_suffix(last.size());
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

void FolderTable::setItem(std::int32_t folder, std::int32_t item) { folderAt(folder).item = item; }

std::int32_t FolderTable::folderOfItem(std::int32_t item) const {
    for (std::int32_t folder = 0; folder < size(); ++folder) {
        if (folderAt(folder).item == item) {
            return folder;
        }
    }
    return NO_FOLDER;
}

// Stops at the first folder that is marked, whose parents are marked too, so that each folder is
// marked once however many items it holds.
void FolderTable::setHasMatches(std::int32_t folder) {
    while (folder > ROOT_FOLDER) {
        Folder &entry = folderAt(folder);
        if (entry.hasMatches) {
            return;
        }
        entry.hasMatches = true;
        folder = entry.parent;
    }
}

} // namespace mrb
