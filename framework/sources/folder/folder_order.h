#pragma once

#include <cstddef>
#include <cstdint>

#include "base/pages.h"
#include "sources/folder/folder_contents.h"
#include "sources/source.h"
#include "text/name_keys.h"

namespace mrb {

// Sorts the contents of a folder in natural order. Owned and used by one scan, on its thread.
// Both functions check after every bounded piece of work whether the sink was cancelled, and return
// false then.
class FolderOrder {
  public:
    explicit FolderOrder(const ItemSink &sink) : sink_(sink) {}

    // Puts the numbers of the first `count` entries into `order`, much sooner than the others can
    // be sorted.
    [[nodiscard]] bool first(const FolderContents &contents, std::size_t count,
                             PagedVector<std::uint32_t> &order) const;

    // Appends the numbers of all entries that `order` does not hold yet.
    [[nodiscard]] bool rest(const FolderContents &contents, PagedVector<std::uint32_t> &order);

  private:
    const ItemSink &sink_;
    NaturalOrder names_;
    NameKeys keys_;
};

} // namespace mrb
