// Loading and unloading the library repeatedly, as a host does that keeps bridges only
// for as long as it needs them: nothing but the bridges may remain allocated.

#include <dlfcn.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "engine_fixture.h"

#if defined(__SANITIZE_ADDRESS__)
// The sanitizer's runtime has it; the header that declares it does not come with gcc.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the runtime's own name
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

size_t allocatedNow() {
#if defined(__SANITIZE_ADDRESS__)
    return __sanitizer_get_current_allocated_bytes();
#else
    return mallinfo2().uordblks;
#endif
}

/// A copy of the library as it ships, which no other part of this process has loaded.
class Unload : public EngineTest {
  protected:
    Unload() {
        // The trace and the log would grow.
        recording::setRecording(false);
        recording::setLogRecording(false);
        const char *const build = std::getenv("QUILL_BUILD");
        const std::filesystem::path shipped =
            std::filesystem::path(build == nullptr ? "." : build) / "tests/unload/libquillmrbbridge.so";
        copy_ = testing::TempDir() + "libunload-" + std::to_string(getpid()) + ".so";
        std::filesystem::copy_file(shipped, copy_, std::filesystem::copy_options::overwrite_existing);
    }
    ~Unload() override {
        std::filesystem::remove(copy_);
        recording::setLogRecording(true);
        recording::setRecording(true);
    }
    Unload(const Unload &) = delete;
    Unload &operator=(const Unload &) = delete;

    /// Loads the copy, creates a bridge, creates and destroys so many native parts of it
    /// at once, and unloads the copy.
    void cycle(size_t parts) {
        const v8::HandleScope scope(testIsolate());
        void *const library = dlopen(copy_.c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        auto *const load_bridges =
            reinterpret_cast<std::vector<Bridge::ScriptBridge *> (*)()>(dlsym(library, "loadBridges"));
        ASSERT_NE(load_bridges, nullptr);
        Bridge::ScriptBridge *const bridge = load_bridges().front();
        std::vector<void *> made;
        for (size_t part = 0; part < parts; ++part) {
            made.push_back(bridge->constructFromScript(Bridge::ScriptArray()));
        }
        for (void *const part : made) {
            bridge->destroyFromScript(part);
        }
        drainMainLoop();
        ASSERT_EQ(dlclose(library), 0);
        ASSERT_EQ(dlopen(copy_.c_str(), RTLD_LAZY | RTLD_NOLOAD), nullptr);
    }

    /// By how many bytes a cycle makes the process grow: the median, since the engine
    /// and the C library occasionally enlarge their own stores.
    long growthPerCycle(size_t parts) {
        constexpr int cycles = 9;
        std::vector<long> growths;
        for (int number = 0; number < cycles; ++number) {
            const size_t before = allocatedNow();
            cycle(parts);
            growths.push_back(static_cast<long>(allocatedNow()) - static_cast<long>(before));
        }
        std::nth_element(growths.begin(), growths.begin() + cycles / 2, growths.end());
        return growths[cycles / 2];
    }

  private:
    std::string copy_;
};

TEST_F(Unload, NativePartsThatWereCreatedAndDestroyedLeaveNothingMoreThanTheBridge) {
    // A pointer kept for each of them would be 4,000 bytes.
    const long of_bridge = growthPerCycle(0);
    EXPECT_LT(growthPerCycle(500) - of_bridge, 2000);
}

} // namespace
