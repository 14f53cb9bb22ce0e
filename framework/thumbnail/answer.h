#pragma once

#include "thumbnail/jobs.h"

namespace mrb::thumbnail {

// What the answer that a thread is giving was made from.
struct Answer {
    const Request *request = nullptr;
    FileIdentity source;
    const thumb_result_s *result = nullptr;
    // The images as they were handed over; the client may have freed them meanwhile.
    const unsigned char *images[MRB_THUMB_IMAGES] = {};
};

// The answer that the calling thread is giving; null outside of a callback.
const Answer *currentAnswer();

// Calls the waiter back with what was decoded. Its images go along with the last
// answer of a job; others get copies.
void giveAnswer(const Request &request, Decoded &decoded, bool last, const Waiter &waiter) noexcept;

} // namespace mrb::thumbnail
