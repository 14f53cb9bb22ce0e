#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

namespace mrb {

// Maps large blocks of memory and returns them to the system as soon as they are freed.
// The C library keeps much of what is freed for later, between small blocks that are
// still in use: a list of a hundred thousand files would keep the memory that its scan
// needed.
template <typename Value>
class PageAllocator {
  public:
    using value_type = Value;

    PageAllocator() = default;
    template <typename Other>
    explicit PageAllocator(const PageAllocator<Other> & /*other*/) {}

    // Throws std::bad_alloc when the system has no more.
    Value *allocate(std::size_t count) {
        if (!isLarge(count)) {
            return std::allocator<Value>().allocate(count);
        }
        if (count > SIZE_MAX / sizeof(Value)) {
            throw std::bad_array_new_length();
        }
        void *pages =
            mmap(nullptr, count * sizeof(Value), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pages == MAP_FAILED) {
            throw std::bad_alloc();
        }
        return static_cast<Value *>(pages);
    }

    void deallocate(Value *values, std::size_t count) {
        if (isLarge(count)) {
            munmap(values, count * sizeof(Value));
        } else {
            std::allocator<Value>().deallocate(values, count);
        }
    }

    bool operator==(const PageAllocator & /*other*/) const { return true; }

  private:
    static constexpr bool isLarge(std::size_t count) { return count >= (64UL << 10) / sizeof(Value); }
};

// For many small values whose memory is returned to the system with them.
template <typename Value>
using PagedVector = std::vector<Value, PageAllocator<Value>>;

} // namespace mrb
