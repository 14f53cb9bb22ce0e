#include "metadata/read_metadata.h"

#include <exception>

#include "base/loading.h"
#include "base/log.h"
#include "base/module.h"

namespace mrb {
namespace {

ReadMetadata *load() {
    try {
        const LoadingTurn turn;
        const Module module("libmrb-readers.so");
        auto *read = module.function<ReadMetadata>(READ_METADATA_SYMBOL);
        module.function<StartReaders>(START_READERS_SYMBOL)();
        return read;
    } catch (const std::exception &failure) {
        MRB_LOG_ERROR("The metadata readers cannot be loaded: %s", failure.what());
        return nullptr;
    }
}

ReadMetadata *readers() {
    static ReadMetadata *const loaded = load();
    return loaded;
}

} // namespace

void readMetadata(MediaFile &file, const std::string &name, Metadata &metadata, Status &status) {
    if (ReadMetadata *const read = readers()) {
        read(file, name, metadata, status);
    } else {
        status = Status::notSupported("The metadata readers cannot be loaded.");
    }
}

void loadReaders() noexcept { readers(); }

} // namespace mrb
