#include "thumbnail/picture_providers.h"

#include "thumbnail/camera_picture.h"
#include "thumbnail/remote_picture.h"

namespace mrb::thumbnail {
namespace {

using Provide = bool(const Request &request, const CancellationToken &cancellation, const PictureTools &tools,
                     Decoded &decoded);

// One provider of pictures.
struct Provider {
    bool (*applies)(const Request &request);
    Provide *provide; // false: it has no result, try the next one
};

bool isRefused(const Request &request) { return request.refusal != MRB_ERR_NONE; }
bool isOnServer(const Request &request) { return request.isRemote; }
bool isOfCamera(const Request &request) { return isOnCamera(request.decode.path); }
bool isAny(const Request & /*request*/) { return true; }

bool refuse(const Request &request, const CancellationToken & /*cancellation*/,
            const PictureTools & /*tools*/, Decoded &decoded) {
    decoded.status.code = request.refusal;
    return true;
}

bool endCancelled(const Request & /*request*/, const CancellationToken &cancellation,
                  const PictureTools & /*tools*/, Decoded &decoded) {
    if (!cancellation.isCancelled()) {
        return false;
    }
    decoded.status = endOf(cancellation);
    return true;
}

bool fetchFromServer(const Request &request, const CancellationToken &cancellation, const PictureTools &tools,
                     Decoded &decoded) {
    decodeRemotePicture(request.decode, cancellation, tools.decode, decoded);
    return true;
}

bool readFromCamera(const Request &request, const CancellationToken &cancellation, const PictureTools &tools,
                    Decoded &decoded) {
    decodeCameraPicture(request.decode, cancellation, tools.decode, tools.cache, decoded);
    return true;
}

bool findInCache(const Request &request, const CancellationToken & /*cancellation*/,
                 const PictureTools &tools, Decoded &decoded) {
    return tools.cache != nullptr && tools.cache->find(request.decode, decoded);
}

bool decodeFile(const Request &request, const CancellationToken &cancellation, const PictureTools &tools,
                Decoded &decoded) {
    tools.decode(request.decode, cancellation, decoded);
    return true;
}

// In the order in which they are tried.
constexpr Provider PROVIDERS[] = {
    {isRefused, refuse},           {isAny, endCancelled},
    {isOnServer, fetchFromServer}, // whose pictures are not cached: they have no identity
    {isOfCamera, readFromCamera},  // it looks into the cache with the camera's size and time of the file
    {isAny, findInCache},          {isAny, decodeFile},
};

} // namespace

void providePicture(const Request &request, const CancellationToken &cancellation, const PictureTools &tools,
                    Decoded &decoded) {
    for (const Provider &provider : PROVIDERS) {
        if (provider.applies(request) && provider.provide(request, cancellation, tools, decoded)) {
            return;
        }
    }
}

} // namespace mrb::thumbnail
