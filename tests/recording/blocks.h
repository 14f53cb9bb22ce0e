#pragma once
// The blocks of memory that the recording framework allocates for its caller, and
// which of them were released.
//
// A block is an ordinary block of the C library. Its release is detected because this
// library exports a `free` of its own, which a library opened with RTLD_DEEPBIND finds
// before the C library's; under a sanitizer, whose allocator takes precedence, the
// sanitizer's own hook reports it.

#include <cstddef>
#include <string>
#include <vector>

namespace recording {

/// One block that was allocated. A second release of it ends the process: the C
/// library refuses it.
struct Block {
    std::string allocated_by; // the framework function
    bool released;
};

/// A new counted block of `size` bytes, which the caller releases with free. Any thread.
void *newBlock(size_t size, const char *function);

/// The number of a block that is still held, from 1; 0 for any other pointer.
size_t blockNumber(const void *pointer);

/// All blocks since the last forgetBlocks, in the order of their numbers.
std::vector<Block> blocks();
void forgetBlocks();

} // namespace recording
