#include "sources/folder/folder_contents.h"

namespace mrb {
namespace {

constexpr std::uint32_t NO_STAT = UINT32_MAX;

constexpr char ZERO[] = "";

} // namespace

void FolderContents::add(std::string_view name, std::uint8_t type, const std::optional<FileStat> &stat) {
    const std::uint32_t statIndex = stat ? static_cast<std::uint32_t>(stats_.size()) : NO_STAT;
    if (stat) {
        stats_.push_back(*stat);
    }
    // The kernel limits a directory entry, which holds more than the name, to 16 bits of length.
    entries_.push_back(
        {text_.add(name, {ZERO, sizeof ZERO}), statIndex, static_cast<std::uint16_t>(name.size()), type});
}

std::optional<FileStat> FolderContents::stat(std::size_t number) const {
    const std::uint32_t statIndex = entries_[number].stat;
    return statIndex == NO_STAT ? std::nullopt : std::optional(stats_[statIndex]);
}

void FolderContents::clear() {
    entries_.clear();
    stats_.clear();
    text_.clear();
}

} // namespace mrb
