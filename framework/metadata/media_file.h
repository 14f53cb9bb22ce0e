#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "base/cancellation.h"
#include "base/descriptor.h"
#include "base/result.h"
#include "metadata/media_bytes.h"

namespace mrb {

// A media file open for its metadata. Whatever its contents, it gives no more than MAX_BYTES,
// and nothing later than TIMEOUT after it was opened or after its reading was cancelled: a
// reader then finds the file at its end. Owned and used by one thread.
class MediaFile {
  public:
    static constexpr std::int64_t MAX_BYTES = 64LL << 20;
    static constexpr auto TIMEOUT = std::chrono::seconds(3);

    // It is cancelled when the metadata are no longer needed.
    explicit MediaFile(CancellationToken cancellation = {}) : cancellation_(std::move(cancellation)) {}

    // Opens a regular file; anything else under `path` is MRB_ERR_NOT_SUPPORTED.
    Status open(const std::string &path);
    // The same for a file in an open folder; an error message names `path`.
    Status openIn(int folder, const char *name, const std::string &path);

    // Opens a file on a remote device.
    void open(std::unique_ptr<MediaBytes> bytes);

    [[nodiscard]] std::int64_t size() const { return size_; }
    [[nodiscard]] std::int64_t modified() const { return modified_; } // seconds since 1970

    // Reads up to `length` bytes from `offset` on; returns how many were read.
    std::size_t read(std::int64_t offset, void *buffer, std::size_t length);
    std::string read(std::int64_t offset, std::size_t length);

    // True: the device failed; the bytes read are incomplete.
    [[nodiscard]] bool failed() const { return failed_; }
    [[nodiscard]] int failure() const { return bytes_ ? bytes_->failure() : int{MRB_ERR_IO}; }
    [[nodiscard]] bool isExhausted() const;
    [[nodiscard]] bool isCancelled() const { return cancellation_.isCancelled(); }

  private:
    void begin(std::int64_t size, std::int64_t modified);
    // Returns the number of bytes read, or below 0 when the device failed.
    std::int64_t readPiece(std::int64_t offset, char *buffer, std::size_t length);

    const CancellationToken cancellation_;
    Descriptor file_;                   // or
    std::unique_ptr<MediaBytes> bytes_; // this
    std::int64_t size_ = 0;
    std::int64_t modified_ = 0;
    std::int64_t left_ = MAX_BYTES;
    std::chrono::steady_clock::time_point deadline_;
    bool failed_ = false;
};

} // namespace mrb
