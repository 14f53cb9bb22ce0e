#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/chunks.h"
#include "media/item.h"

namespace mrb {

// The tree of folders in which the items of a list lie. Folders have numbers in the order in
// which they are added; ROOT_FOLDER is the source itself and is always there. Append-only. Owned
// by an ItemStore or a source; not thread-safe. Functions take the numbers of existing folders
// unless they say otherwise.
class FolderTable {
  public:
    // Bounds on what a damaged or hostile source can make the process hold.
    static constexpr std::int32_t MAX_FOLDERS = 5'000'000;
    static constexpr std::size_t MAX_TEXT_BYTES = 1UL << 28;   // bytes of all names
    static constexpr std::size_t MAX_NAME_LENGTH = UINT16_MAX; // bytes of one name; longer: truncated

    FolderTable();

    // The new folder's number; negative when a bound is reached. Any `parent`, see orRoot.
    std::int32_t add(std::int32_t parent, std::string_view name);

    [[nodiscard]] std::int32_t size() const { return static_cast<std::int32_t>(folders_.size()); }
    // The bytes that all names will take with one more of that length.
    [[nodiscard]] std::size_t textBytesWith(std::size_t length) const { return text_.endWith(length); }

    // `folder`, which may be any number; the root folder where there is no such folder.
    [[nodiscard]] std::int32_t orRoot(std::int32_t folder) const {
        return folder > ROOT_FOLDER && folder < size() ? folder : ROOT_FOLDER;
    }
    [[nodiscard]] std::int32_t parent(std::int32_t folder) const { return folderAt(folder).parent; }
    // Valid as long as the table.
    [[nodiscard]] std::string_view name(std::int32_t folder) const;
    // The names below the source, joined with '/'.
    [[nodiscard]] std::string path(std::int32_t folder) const;
    [[nodiscard]] bool hasPath(std::int32_t folder, std::string_view path) const;

    // The number of the item that is the folder's entry in the list; negative: none.
    [[nodiscard]] std::int32_t item(std::int32_t folder) const { return folderAt(folder).item; }
    void setItem(std::int32_t folder, std::int32_t item);
    // The folder whose entry is that item; NO_FOLDER: none. Takes time proportional to size().
    [[nodiscard]] std::int32_t folderOfItem(std::int32_t item) const;

    // True: the folder, or something in it or below, matches the filters of the list.
    [[nodiscard]] bool hasMatches(std::int32_t folder) const { return folderAt(folder).hasMatches; }
    // Marks a folder and those that it lies in.
    void setHasMatches(std::int32_t folder);

  private:
    struct Folder {
        std::int32_t parent;
        std::uint32_t text; // where in text_ the name begins
        std::uint16_t nameLength;
        bool hasMatches;
        std::int32_t item;
    };

    [[nodiscard]] const Folder &folderAt(std::int32_t folder) const {
        return folders_[static_cast<std::size_t>(folder)];
    }
    [[nodiscard]] Folder &folderAt(std::int32_t folder) { return folders_[static_cast<std::size_t>(folder)]; }

    // In chunks: they grow without copying their elements, and are freed as a whole.
    ChunkedArray<Folder> folders_;
    ChunkedText text_;
};

} // namespace mrb
