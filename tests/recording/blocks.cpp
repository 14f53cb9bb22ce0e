#include "blocks.h"

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <unordered_map>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SEES_BY_HOOK 1
// The sanitizer's runtime has it; the header that declares it does not come with gcc.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the runtime's own name
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void *, size_t),
                                                         void (*released)(const volatile void *));
#else
#define SEES_BY_HOOK 0
#endif

namespace recording {

namespace {

// Guarded by its mutex; never destroyed, because memory is released until the very
// end of the process.
struct Ledger {
    std::mutex mutex;
    std::unordered_map<const void *, size_t> held; // pointer to number
    std::vector<Block> all;
};

Ledger &ledger() {
    static auto *only = new Ledger;
    return *only;
}

// Releases of other people's blocks pass without touching the mutex while no block
// of ours is held.
std::atomic<size_t> held_count{0};

// The bookkeeping releases memory of its own, which must not count.
thread_local bool inside = false;

void noteRelease(const void *pointer) {
    // The count first: the loader releases memory while it makes room for a thread's variables.
    if (pointer == nullptr || held_count.load(std::memory_order_relaxed) == 0 || inside) {
        return;
    }
    inside = true;
    {
        Ledger &book = ledger();
        const std::lock_guard<std::mutex> lock(book.mutex);
        const auto found = book.held.find(pointer);
        if (found != book.held.end()) {
            book.all[found->second - 1].released = true;
            book.held.erase(found);
            held_count.fetch_sub(1, std::memory_order_relaxed);
        }
    }
    inside = false;
}

#if SEES_BY_HOOK
const int hook_installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void * /*pointer*/, size_t /*size*/) {},
    [](const volatile void *pointer) { noteRelease(const_cast<const void *>(pointer)); });
#endif

} // namespace

void *newBlock(size_t size, const char *function) {
    void *block = std::malloc(size);
    if (block == nullptr) {
        std::abort();
    }
    inside = true;
    {
        Ledger &book = ledger();
        const std::lock_guard<std::mutex> lock(book.mutex);
        book.all.push_back({function, false});
        if (book.held.insert_or_assign(block, book.all.size()).second) {
            held_count.fetch_add(1, std::memory_order_relaxed);
        }
    }
    inside = false;
    return block;
}

size_t blockNumber(const void *pointer) {
    const std::lock_guard<std::mutex> lock(ledger().mutex);
    const auto found = ledger().held.find(pointer);
    return found == ledger().held.end() ? 0 : found->second;
}

std::vector<Block> blocks() {
    const std::lock_guard<std::mutex> lock(ledger().mutex);
    return ledger().all;
}

void forgetBlocks() {
    inside = true;
    {
        const std::lock_guard<std::mutex> lock(ledger().mutex);
        ledger().held.clear();
        held_count.store(0, std::memory_order_relaxed);
        ledger().all.clear();
    }
    inside = false;
}

} // namespace recording

#if !SEES_BY_HOOK
extern "C" void __libc_free(void *pointer); // NOLINT(bugprone-reserved-identifier): the C library's own

extern "C" void free(void *pointer) {
    recording::noteRelease(pointer);
    __libc_free(pointer);
}
#endif
