#pragma once

#include <functional>

#include "base/cancellation.h"
#include "thumbnail/decoder.h"
#include "thumbnail/flash_cache.h"
#include "thumbnail/request.h"

namespace mrb::thumbnail {

// The tools of the providers. Both outlive the call.
struct PictureTools {
    const std::function<Decode> &decode;
    FlashCache *cache; // null: the request does not use it, or none is open
};

// Serves a request by the first provider that has a result, see the table. Waits for devices and
// servers until `cancellation` is cancelled; errors are returned in the status. Throws only what
// `tools.decode` throws, and std::bad_alloc. A thread of the service.
void providePicture(const Request &request, const CancellationToken &cancellation, const PictureTools &tools,
                    Decoded &decoded);

} // namespace mrb::thumbnail
