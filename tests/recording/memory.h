#pragma once
// How much memory the process has allocated, to detect what is not released.

#include <cstddef>

#include <malloc.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// The sanitizer's runtime has it; the header that declares it does not come with gcc.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the runtime's own name
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace recording {

/// The bytes that the whole process has allocated from the C library and not released.
inline size_t allocatedBytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
#endif
}

} // namespace recording
