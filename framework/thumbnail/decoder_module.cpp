#include "thumbnail/decoder_module.h"

#include "base/loading.h"
#include "base/module.h"
#include "base/on_demand.h"

namespace mrb::thumbnail {
namespace {

Decode *load() {
    const LoadingTurn turn;
    const Module library("libmrb-decoders.so");
    auto *decode = library.function<Decode>(DECODE_SYMBOL);
    library.function<StartDecoders>(START_SYMBOL)();
    return decode;
}

} // namespace

Decode &decoders() {
    static OnDemand<Decode> decode;
    return decode.get(load);
}

} // namespace mrb::thumbnail
