#include "bridge_library.h"

#include <algorithm>
#include <exception>

#include <dlfcn.h>

namespace {

using LoadBridges = std::vector<Bridge::ScriptBridge *> (*)();

/// Node.js exports its own OpenSSL, zlib, libuv and more, and a library opened
/// plainly would bind to those instead of the system's that it was built with.
/// Sanitizers refuse the flag, since their interceptors must come first.
int openFlags() {
    const bool sanitized =
        dlsym(RTLD_DEFAULT, "__asan_init") != nullptr || dlsym(RTLD_DEFAULT, "__tsan_init") != nullptr;
    return RTLD_NOW | RTLD_LOCAL | (sanitized ? 0 : RTLD_DEEPBIND);
}

std::string lastLoaderError() {
    const char *error = dlerror();
    return error == nullptr ? "unknown error of the dynamic loader" : error;
}

} // namespace

BridgeLibrary openBridgeLibrary(const std::string &path) {
    void *library = dlopen(path.c_str(), openFlags());
    if (library == nullptr) {
        return {{}, lastLoaderError()};
    }
    auto *load_bridges = reinterpret_cast<LoadBridges>(dlsym(library, "loadBridges"));
    if (load_bridges == nullptr) {
        return {{}, "it is not a bridge library: it does not export loadBridges"};
    }
    BridgeLibrary opened;
    try {
        opened.bridges = load_bridges();
    } catch (const std::exception &error) {
        return {{}, std::string("loadBridges failed: ") + error.what()};
    }
    if (opened.bridges.empty() ||
        std::find(opened.bridges.begin(), opened.bridges.end(), nullptr) != opened.bridges.end()) {
        return {{}, "loadBridges returned no script class"};
    }
    return opened;
}
