#include "sources/folder/folder_contents.h"

namespace mrb {
namespace {

constexpr std::uint32_t NO_FACTS = UINT32_MAX;

constexpr char ZERO[] = "";

} // namespace

void FolderContents::add(std::string_view name, std::uint8_t type, const std::optional<FileFacts> &facts) {
    const std::uint32_t place = facts ? static_cast<std::uint32_t>(facts_.size()) : NO_FACTS;
    if (facts) {
        facts_.push_back(*facts);
    }
    // The kernel limits a directory entry, which holds more than the name, to 16 bits of length.
    entries_.push_back(
        {text_.add(name, {ZERO, sizeof ZERO}), place, static_cast<std::uint16_t>(name.size()), type});
}

std::optional<FileFacts> FolderContents::facts(std::size_t number) const {
    const std::uint32_t place = entries_[number].facts;
    return place == NO_FACTS ? std::nullopt : std::optional(facts_[place]);
}

void FolderContents::clear() {
    entries_.clear();
    facts_.clear();
    text_.clear();
}

} // namespace mrb
