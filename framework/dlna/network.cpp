#include "dlna/network.h"

#include "base/module.h"

namespace mrb::dlna {

std::unique_ptr<Network> startNetwork(ServerListener &listener) {
    static const Module library("libmrb-dlna.so");
    static auto *const start = library.function<StartNetwork>(START_SYMBOL);
    return std::unique_ptr<Network>(start(listener));
}

} // namespace mrb::dlna
