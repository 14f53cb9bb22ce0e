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

// Memory of one piece of the two containers below: a few pages are touched of it
// for a short list, and few pieces are freed for a long one.
inline constexpr std::size_t CHUNK_BYTES = 256UL << 10;

// Many small values, one after the other. What is there never moves, so adding one
// takes as long with the first as with the millionth.
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

    // Keeps the first chunk for what comes next.
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

// Many short texts, one after the other, known by where they begin. Views of them
// live until `clear`.
class ChunkedText {
  public:
    static constexpr std::size_t LONGEST = CHUNK_BYTES; // bytes of one text

    // Where the next text that is added would end, gaps at the ends of chunks included.
    [[nodiscard]] std::size_t endWith(std::size_t length) const {
        return (fits(length) ? size() : chunks_.size() * CHUNK_BYTES) + length;
    }

    // Where the text begins; `tail` follows it. Both are at most LONGEST bytes long.
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

    // Keeps the first chunk for what comes next.
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
