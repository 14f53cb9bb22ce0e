#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/chunks.h"
#include "text/collation.h"

namespace mrb {

// The sort keys of many names in natural order: one key for each, made once, packed,
// and compared without the names. Owned and used by one thread.
class NameKeys {
  public:
    // Longer keys are truncated: names count as equal when this many bytes of their keys
    // are.
    static constexpr std::size_t MAX_KEY_LENGTH = 64UL << 10;

    void add(std::string_view name);
    [[nodiscard]] std::size_t size() const { return keys_.size(); }

    // The first bytes in which the keys may differ, as a number that compares as they
    // do. Where two are equal, `compare` decides. Valid once all names were added.
    [[nodiscard]] std::uint64_t prefix(std::size_t number) const;

    // By the whole keys, as std::string_view::compare.
    [[nodiscard]] int compare(std::size_t left, std::size_t right) const {
        return key(left).compare(key(right));
    }

    void clear();

  private:
    struct Key {
        std::uint32_t start;
        std::uint32_t length;
    };
    [[nodiscard]] std::string_view key(std::size_t number) const {
        return text_.at(keys_[number].start, keys_[number].length);
    }

    NaturalOrder order_;
    ChunkedArray<Key> keys_;
    ChunkedText text_;
    std::size_t common_ = 0; // bytes of the prefix that all keys share
};

} // namespace mrb
