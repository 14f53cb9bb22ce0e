#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/pages.h"

namespace mrb {

// The size of one chunk of the two containers below: a short list touches only a few
// pages of it, and a long one frees few chunks.
inline constexpr std::size_t CHUNK_BYTES = 256UL << 10;

// A sequence of many small values. Elements never move, so appending the millionth takes
// as long as the first.
template <typename Value>
class ChunkedArray {
    static_assert(std::is_trivially_destructible_v<Value>, "clearing frees whole chunks");

  public:
    [[nodiscard]] std::size_t size() const {
        return chunks_.empty() ? 0 : (chunks_.size() - 1) * PER_CHUNK + chunks_.back().size();
    }
    [[nodiscard]] bool empty() const { return chunks_.empty() || chunks_.front().empty(); }

    [[nodiscard]] const Value &operator[](std::size_t index) const {
        return chunks_[index / PER_CHUNK][index % PER_CHUNK];
    }
    [[nodiscard]] Value &operator[](std::size_t index) {
        return chunks_[index / PER_CHUNK][index % PER_CHUNK];
    }

    void push_back(const Value &value) {
        if (chunks_.empty() || chunks_.back().size() == PER_CHUNK) {
            PagedVector<Value> chunk;
            chunk.reserve(PER_CHUNK);
            chunks_.push_back(std::move(chunk));
        }
        chunks_.back().push_back(value);
    }

    // Keeps the first chunk for reuse.
    void clear() {
        if (!chunks_.empty()) {
            chunks_.erase(chunks_.begin() + 1, chunks_.end());
            chunks_.front().clear();
        }
    }

  private:
    static constexpr std::size_t PER_CHUNK = std::bit_floor(CHUNK_BYTES / sizeof(Value));
    std::vector<PagedVector<Value>> chunks_;
};

// A sequence of many short strings, each identified by its offset. Views of them are
// valid until `clear`.
class ChunkedText {
  public:
    static constexpr std::size_t MAX_LENGTH = CHUNK_BYTES; // bytes of one string

    // The end offset that the next string would have, gaps at the ends of chunks included.
    [[nodiscard]] std::size_t endWith(std::size_t length) const {
        return (fits(length) ? size() : chunks_.size() * CHUNK_BYTES) + length;
    }

    // Returns the offset of the string; `tail` follows it. Together they are at most MAX_LENGTH bytes long.
    std::uint32_t add(std::string_view text, std::string_view tail = {}) {
        if (!fits(text.size() + tail.size())) {
            PagedVector<char> chunk;
            chunk.reserve(CHUNK_BYTES);
            chunks_.push_back(std::move(chunk));
        }
        PagedVector<char> &chunk = chunks_.back();
        const auto start = static_cast<std::uint32_t>((chunks_.size() - 1) * CHUNK_BYTES + chunk.size());
        chunk.insert(chunk.end(), text.begin(), text.end());
        chunk.insert(chunk.end(), tail.begin(), tail.end());
        return start;
    }

    [[nodiscard]] std::string_view at(std::uint32_t start, std::size_t length) const {
        return length == 0
                   ? std::string_view()
                   : std::string_view(chunks_[start / CHUNK_BYTES].data() + start % CHUNK_BYTES, length);
    }

    // Keeps the first chunk for reuse.
    void clear() {
        if (!chunks_.empty()) {
            chunks_.erase(chunks_.begin() + 1, chunks_.end());
            chunks_.front().clear();
        }
    }

  private:
    [[nodiscard]] std::size_t size() const {
        return chunks_.empty() ? 0 : (chunks_.size() - 1) * CHUNK_BYTES + chunks_.back().size();
    }
    [[nodiscard]] bool fits(std::size_t length) const {
        return !chunks_.empty() && chunks_.back().size() + length <= CHUNK_BYTES;
    }

    std::vector<PagedVector<char>> chunks_;
};

} // namespace mrb
