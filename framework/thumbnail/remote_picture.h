#pragma once

#include <functional>

#include "base/cancellation.h"
#include "thumbnail/decoder.h"

namespace mrb::thumbnail {

// Fetches the picture whose URL is the request's path from a DLNA server, and decodes it. Waits
// for the server no longer than REMOTE_TIMEOUT. Throws only what `decode` throws, and
// std::bad_alloc.
void decodeRemotePicture(const DecodeRequest &request, const CancellationToken &cancellation,
                         const std::function<Decode> &decode, Decoded &decoded);

inline constexpr auto REMOTE_TIMEOUT = std::chrono::seconds(10);
inline constexpr std::size_t MAX_REMOTE_BYTES = std::size_t{16} << 20;

} // namespace mrb::thumbnail
