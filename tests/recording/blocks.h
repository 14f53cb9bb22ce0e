#pragma once
// The blocks of memory that the recording framework hands out, and which of them
// were released.
//
// A block is an ordinary block of the C library. Its release is seen because this
// library exports a `free` of its own, which a library that is opened to search
// its own dependencies first finds before the C library's; under a sanitizer,
// whose allocator goes before everything, the sanitizer's own hook reports them.

#include <cstddef>
#include <string>
#include <vector>

namespace recording {

/// One block that was handed out. A second release of it is the C library's to
/// refuse: it ends the process.
struct Block {
    std::string giver; // the function that handed it out
    bool released;
};

/// A new counted block of `size` bytes, the caller's to release with free. Any thread.
void *newBlock(size_t size, const char *giver);

/// The number of a block that is still held, from 1; 0 for any other pointer.
size_t blockNumber(const void *pointer);

/// All blocks since the last forgetBlocks, in the order of their numbers.
std::vector<Block> blocks();
void forgetBlocks();

} // namespace recording
