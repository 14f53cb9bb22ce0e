#include "thumbnail/decoders.h"

#include <dlfcn.h>

#include <stdexcept>

namespace mrb::thumbnail {
namespace {

// Beside libmrb.so.1, which looks there first.
constexpr const char *LIBRARY = "libmrb-decoders.so";

// The program may have libraries of its own under the same names, as Node.js has;
// sanitizers do not allow for that.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int OWN_LIBRARIES_FIRST = 0;
#else
constexpr int OWN_LIBRARIES_FIRST = RTLD_DEEPBIND;
#endif

Decode *load() {
    // Never closed: its libraries have threads and handlers that cannot be taken back.
    void *library = dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL | OWN_LIBRARIES_FIRST);
    void *start = library != nullptr ? dlsym(library, START_SYMBOL) : nullptr;
    void *decode = library != nullptr ? dlsym(library, DECODE_SYMBOL) : nullptr;
    if (start == nullptr || decode == nullptr) {
        const char *reason = dlerror();
        throw std::runtime_error(reason != nullptr ? reason : LIBRARY);
    }
    reinterpret_cast<StartDecoders *>(start)();
    return reinterpret_cast<Decode *>(decode);
}

} // namespace

Decode &decoders() {
    static Decode *const decode = load();
    return *decode;
}

} // namespace mrb::thumbnail
