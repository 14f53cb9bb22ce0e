#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>

#include "list/item_store.h"
#include "sources/source.h"

namespace mrb {

// The items of one opening, growing while it is filled. Owned by its Opening;
// one thread adds, any thread reads, and nobody holds the lock for longer than
// it takes to add a run of items or to copy one.
class List {
  public:
    explicit List(TypeMask wanted) : wanted_(wanted) {}

    [[nodiscard]] bool wants(std::uint8_t type) const { return type < 32 && (wanted_ & maskOf(type)) != 0; }

    std::int32_t addFolder(std::int32_t parent, std::string_view name);

    // Appends those items of the run that are wanted. False when the list is full.
    [[nodiscard]] bool add(std::span<const SourceItem> items);

    [[nodiscard]] std::int32_t size() const;
    [[nodiscard]] std::int32_t count(unsigned type) const;

    // No value: no item has that index.
    [[nodiscard]] std::optional<ItemFacts> item(std::int32_t index) const;

    // The item of that name in the folder with that number; no value: there is none.
    // Takes as long as the list is, but never holds the lock for long.
    [[nodiscard]] std::optional<ItemFacts> find(std::int32_t folder, std::string_view name) const;

    // Puts the cursor on an item; false when no item has that index.
    bool moveTo(std::int32_t index);
    [[nodiscard]] std::int32_t cursor() const;

  private:
    const TypeMask wanted_;

    mutable std::mutex lock_; // guards what follows
    ItemStore store_;
    std::int32_t cursor_ = 0;
};

} // namespace mrb
