#include "thumbnail/decoders.h"

#include "base/module.h"

namespace mrb::thumbnail {
namespace {

Decode *load() {
    const Module library("libmrb-decoders.so");
    auto *decode = library.function<Decode>(DECODE_SYMBOL);
    library.function<StartDecoders>(START_SYMBOL)();
    return decode;
}

} // namespace

Decode &decoders() {
    static Decode *const decode = load();
    return *decode;
}

} // namespace mrb::thumbnail
