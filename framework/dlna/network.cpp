#include "dlna/network.h"

#include "base/module.h"
#include "base/on_demand.h"

namespace mrb::dlna {

std::unique_ptr<Network> startNetwork(ServerListener &listener) {
    static OnDemand<StartNetwork> start;
    return std::unique_ptr<Network>(
        start.get([] { return Module("libmrb-dlna.so").function<StartNetwork>(START_SYMBOL); })(listener));
}

} // namespace mrb::dlna
