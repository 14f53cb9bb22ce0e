#include "base/module.h"

#include <dlfcn.h>

#include <string>

#include "base/loading.h"

namespace mrb {
namespace {

// The program may have libraries of its own under the same names, as Node.js has;
// sanitizers do not allow for that.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int OWN_LIBRARIES_FIRST = 0;
#else
constexpr int OWN_LIBRARIES_FIRST = RTLD_DEEPBIND;
#endif

const char OWN_ADDRESS = 0;

// By its path: under a sanitizer its runtime is the caller of dlopen, and the loader searches
// the runtime's folders.
std::string besideThisLibrary(const char *file) {
    Dl_info own{};
    if (dladdr(&OWN_ADDRESS, &own) == 0 || own.dli_fname == nullptr) {
        return file;
    }
    const std::string path = own.dli_fname;
    return path.substr(0, path.rfind('/') + 1) + file;
}

MissingModule failure(const char *what) {
    const char *reason = dlerror();
    return MissingModule(reason != nullptr ? reason : what);
}

} // namespace

// Lazily: most functions that a library refers to are never called, and resolving them takes
// half of the time to load the decoders.
Module::Module(const char *file) {
    const LoadingTurn turn;
    library_ = dlopen(besideThisLibrary(file).c_str(), RTLD_LAZY | RTLD_LOCAL | OWN_LIBRARIES_FIRST);
    if (library_ == nullptr) {
        throw failure(file);
    }
    if (auto *share = reinterpret_cast<ShareLoading *>(dlsym(library_, SHARE_LOADING_SYMBOL))) {
        share(LoadingLock::instance());
    }
}

void *Module::symbol(const char *name) const {
    void *found = dlsym(library_, name);
    if (found == nullptr) {
        throw failure(name);
    }
    return found;
}

} // namespace mrb
