#include "list/list.h"

#include <algorithm>

namespace mrb {

std::int32_t List::addFolder(std::int32_t parent, std::string_view name) {
    const std::lock_guard guard(lock_);
    return store_.addFolder(parent, name);
}

bool List::add(std::span<const SourceItem> items) {
    const std::lock_guard guard(lock_);
    return std::ranges::all_of(
        items, [this](const SourceItem &item) { return !wants(item.type) || store_.add(item); });
}

std::int32_t List::size() const {
    const std::lock_guard guard(lock_);
    return store_.size();
}

std::int32_t List::count(unsigned type) const {
    const std::lock_guard guard(lock_);
    return store_.count(type);
}

std::optional<ItemFacts> List::item(std::int32_t index) const {
    const std::lock_guard guard(lock_);
    if (index < 0 || index >= store_.size()) {
        return std::nullopt;
    }
    return store_.facts(index);
}

std::optional<ItemFacts> List::find(std::int32_t folder, std::string_view name) const {
    constexpr std::int32_t AT_ONCE = 4096;
    for (std::int32_t begin = 0;; begin += AT_ONCE) {
        const std::lock_guard guard(lock_);
        if (begin >= store_.size()) {
            return std::nullopt;
        }
        const std::int32_t end = std::min(begin + AT_ONCE, store_.size());
        for (std::int32_t index = begin; index < end; ++index) {
            if (store_.is(index, folder, name)) {
                return store_.facts(index);
            }
        }
    }
}

bool List::moveTo(std::int32_t index) {
    const std::lock_guard guard(lock_);
    if (index < 0 || index >= store_.size()) {
        return false;
    }
    cursor_ = index;
    return true;
}

std::int32_t List::cursor() const {
    const std::lock_guard guard(lock_);
    return cursor_;
}

} // namespace mrb
