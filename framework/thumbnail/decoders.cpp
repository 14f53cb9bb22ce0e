#include "thumbnail/decoders.h"

#include <dlfcn.h>

#include <stdexcept>
#include <string>

namespace mrb::thumbnail {
namespace {

constexpr const char *LIBRARY = "libmrb-decoders.so";

// The program may have libraries of its own under the same names, as Node.js has;
// sanitizers do not allow for that.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int OWN_LIBRARIES_FIRST = 0;
#else
constexpr int OWN_LIBRARIES_FIRST = RTLD_DEEPBIND;
#endif

// The library lies beside the one that this is part of. It is opened by its path, since
// under a sanitizer that runtime is who opens it, and looks elsewhere.
std::string placeOfLibrary() {
    Dl_info own{};
    if (dladdr(reinterpret_cast<const void *>(&decoders), &own) == 0 || own.dli_fname == nullptr) {
        return LIBRARY;
    }
    const std::string file = own.dli_fname;
    return file.substr(0, file.rfind('/') + 1) + LIBRARY;
}

Decode *load() {
    // Never closed: its libraries have threads and handlers that cannot be taken back.
    void *library = dlopen(placeOfLibrary().c_str(), RTLD_NOW | RTLD_LOCAL | OWN_LIBRARIES_FIRST);
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
