#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "metadata/media_bytes.h"

namespace mrb {

// The first bytes of a file, where no others are available. Owned and used like every MediaBytes.
class BytesInMemory final : public MediaBytes {
  public:
    // `size` and `modified` are those of the whole file.
    BytesInMemory(std::string bytes, std::int64_t size, std::int64_t modified)
        : bytes_(std::move(bytes)), size_(size), modified_(modified) {}

    [[nodiscard]] std::int64_t size() const override { return size_; }
    [[nodiscard]] std::int64_t modified() const override { return modified_; }

    bool read(std::int64_t offset, char *buffer, std::size_t length, std::size_t &got) override {
        const std::size_t start = std::min(static_cast<std::size_t>(offset), bytes_.size());
        got = std::min(length, bytes_.size() - start);
        std::memcpy(buffer, bytes_.data() + start, got);
        return true;
    }

  private:
    const std::string bytes_;
    const std::int64_t size_;
    const std::int64_t modified_;
};

} // namespace mrb
