#pragma once

#include "thumbnail/jobs.h"

namespace mrb::thumbnail {

// The origin of the result that a thread is delivering.
struct ThumbnailResult {
    const Request *request = nullptr;
    FileIdentity source;
    const thumb_result_s *result = nullptr;
    // the images as delivered; the client may have freed them since
    const unsigned char *images[MRB_THUMB_IMAGES] = {};
};

// The result that the calling thread is delivering; null outside of a callback.
const ThumbnailResult *currentResult();

// Calls a request's callback with the decoded images. The last request of a job gets the images
// themselves, the others get copies.
void deliverResult(const Request &request, Decoded &decoded, bool last,
                   const PendingRequest &pending) noexcept;

} // namespace mrb::thumbnail
