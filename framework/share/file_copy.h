#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "share/copy_result.h"

namespace mrb {

// Writes bytes from memory to an empty file, at the speed of its device. Owned and used by one
// thread.
class FileWriter {
  public:
    explicit FileWriter(int file) : file_(file) {}

    // An errno.
    int write(std::span<const char> bytes);

  private:
    const int file_;
    std::uint64_t done_ = 0; // bytes
};

// Copies the bytes of files, in the fastest way that both file systems support. Owned and used by
// one thread; it remembers from file to file which ways failed.
class FileCopier {
  public:
    // Bytes per call: small enough to stop between two on a slow device.
    static constexpr std::size_t PIECE = 1UL << 20;

    FileCopier();
    ~FileCopier();
    FileCopier(const FileCopier &) = delete;
    FileCopier &operator=(const FileCopier &) = delete;

    // Copies `size` bytes from the beginning of one open file, which errors call `name`, to
    // another, which is empty. `moved` gets the number of bytes copied so far after each
    // piece; false: stop.
    CopyResult copy(int source, const std::string &name, int destination, std::uint64_t size,
                    const std::function<bool(std::uint64_t)> &moved);

    // Starts with a slower way, as on file systems that do not support a faster one.
    enum CopyStrategy : unsigned { RANGE, SEND, READ_WRITE };
    void beginWith(CopyStrategy strategy) { strategy_ = strategy; }

  private:
    std::size_t readAndWrite(int source, const std::string &name, int destination, std::size_t size,
                             CopyResult &result);

    unsigned strategy_ = RANGE;
    std::unique_ptr<char[]> buffer_; // NOLINT(*-avoid-c-arrays): a vector would zero it
};

} // namespace mrb
