#include "dlna/network.h"

#include "base/loading.h"
#include "base/module.h"
#include "base/on_demand.h"

namespace mrb::dlna {

namespace {

StartNetwork *load() {
    const LoadingTurn turn;
    const Module module("libmrb-dlna.so");
    auto *start = module.function<StartNetwork>(START_SYMBOL);
    module.function<PrepareNetwork>(PREPARE_SYMBOL)();
    return start;
}

} // namespace

std::unique_ptr<Network> startNetwork(NetworkObserver &observer) {
    static OnDemand<StartNetwork> start;
    return std::unique_ptr<Network>(start.get(load)(observer));
}

} // namespace mrb::dlna
