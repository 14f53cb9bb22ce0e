// Loads a bridge library into a process of its own, where nothing else has it loaded,
// calls loadBridges twice and unloads the library: unload ENGINE FILE. ENGINE is a library
// with the functions of the script engine that FILE calls.
//
// Prints one line of JSON: how many bridges each call returned, whether both began with
// the same one, whether the library is unloaded, and how many blocks of memory that it
// allocated remain besides the bridges themselves.

#include <dlfcn.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

namespace {

struct Block {
    void *start = nullptr; ///< null: released
    const void *caller = nullptr;
};

// Not a container: it must not allocate. All on one thread.
constexpr std::size_t MAX_BLOCKS = 100'000;
std::array<Block, MAX_BLOCKS> blocks;
std::size_t block_count = 0;
bool counting = false;

void *allocate(std::size_t size, const void *caller) {
    void *const start = std::malloc(size == 0 ? 1 : size);
    if (start == nullptr || block_count == MAX_BLOCKS) {
        std::abort();
    }
    if (counting) {
        blocks[block_count++] = {start, caller};
    }
    return start;
}

void release(void *start) noexcept {
    for (std::size_t index = block_count; start != nullptr && index > 0; --index) {
        if (blocks[index - 1].start == start) {
            blocks[index - 1].start = nullptr;
            break;
        }
    }
    std::free(start);
}

/// Whether an address lies in a library, which must be loaded.
bool isIn(const void *address, const char *file) {
    Dl_info info{};
    return dladdr(address, &info) != 0 && std::strcmp(info.dli_fname, file) == 0;
}

} // namespace

// The library's allocations come here: a program's operators go before the C++ library's.
void *operator new(std::size_t size) { return allocate(size, __builtin_return_address(0)); }
void operator delete(void *start) noexcept { release(start); }
void operator delete(void *start, std::size_t /*size*/) noexcept { release(start); }

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fputs("unload ENGINE FILE\n", stderr);
        return 2;
    }
    const char *const file = argv[2];
    if (dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL) == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    counting = true;
    void *const library = dlopen(file, RTLD_LAZY | RTLD_LOCAL);
    auto *const load_bridges =
        library == nullptr ? nullptr
                           : reinterpret_cast<std::vector<void *> (*)()>(dlsym(library, "loadBridges"));
    if (load_bridges == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }

    std::array<std::size_t, 2> sizes{};
    bool same_first = false;
    std::vector<void *> bridges;
    {
        const std::vector<void *> first = load_bridges();
        bridges = load_bridges();
        sizes = {first.size(), bridges.size()};
        same_first = !first.empty() && !bridges.empty() && first[0] == bridges[0];
    }

    std::vector<std::size_t> of_library; // of which blocks
    for (std::size_t index = 0; index < block_count; ++index) {
        if (blocks[index].start != nullptr && isIn(blocks[index].caller, file)) {
            counting = false;
            of_library.push_back(index);
            counting = true;
        }
    }
    dlclose(library);
    counting = false;
    const bool gone = dlopen(file, RTLD_LAZY | RTLD_NOLOAD) == nullptr;

    std::size_t left = 0;
    std::size_t bridges_left = 0;
    for (const std::size_t index : of_library) {
        void *const start = blocks[index].start;
        bool is_bridge = false;
        for (void *const bridge : bridges) {
            is_bridge = is_bridge || (start != nullptr && start == bridge);
        }
        bridges_left += is_bridge ? 1 : 0;
        // The result was allocated there too, and belongs to this program.
        left += start != nullptr && !is_bridge && start != bridges.data() ? 1 : 0;
    }
    std::printf(
        "{\"answered\":[%zu,%zu],\"sameFirst\":%s,\"unloaded\":%s,\"left\":%zu,\"bridgesLeft\":%zu}\n",
        sizes[0], sizes[1], same_first ? "true" : "false", gone ? "true" : "false", left, bridges_left);
    return 0;
}
