// The process's thumbnail service, and its shutdown.

#include <link.h>

#include <atomic>
#include <thread>

#include "base/on_demand.h"
#include "base/process_exit.h"
#include "thumbnail/decoder_module.h"
#include "thumbnail/service.h"

namespace mrb::thumbnail {
namespace {

bool endService(std::chrono::steady_clock::time_point deadline) {
    return ThumbnailService::instance().shutDown(deadline);
}

int readAdditions(dl_phdr_info *info, std::size_t /*size*/, void *additions) {
    *static_cast<unsigned long long *>(additions) = info->dlpi_adds;
    return 1; // the count is the same for every library
}

// Exit handlers run in the reverse order of their registration, and a library's objects are
// destroyed in between. Our threads must end before any library that they use, so the handler is
// registered again whenever libraries were loaded: some are loaded late, with the first picture
// of a format. Shutting down twice is harmless.
void endBeforeLibraries() {
    static std::atomic<unsigned long long> known{0};
    unsigned long long additions = 0;
    dl_iterate_phdr(readAdditions, &additions);
    if (known.exchange(additions) != additions) {
        finishAtExit(endService);
    }
}

void decodeForReal(const DecodeRequest &request, const CancellationToken &cancellation, Decoded &decoded) {
    Decode &work = decoders();
    endBeforeLibraries();
    work(request, cancellation, decoded);
    endBeforeLibraries();
}

} // namespace

ThumbnailService &ThumbnailService::instance() {
    static OnDemand<ThumbnailService> service;
    return service.get([] {
        const unsigned cores = std::thread::hardware_concurrency();
        auto *made = new ThumbnailService(decodeForReal, cores > 0 ? cores : 1);
        finishAtExit(endService);
        return made;
    });
}

} // namespace mrb::thumbnail
