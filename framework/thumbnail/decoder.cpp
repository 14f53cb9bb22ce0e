#include "thumbnail/decoder.h"

#include <cstdlib>
#include <new>

namespace mrb::thumbnail {

Status endOf(const CancellationToken &cancellation) {
    return cancellation.isTimedOut() ? Status::timedOut("Decoding took too long.")
                                     : Status::cancelled("The request was cancelled.");
}

Image makeImage(int width, int height) {
    Image image;
    image.width = width;
    image.height = height;
    image.pixels.reset(static_cast<unsigned char *>(std::malloc(image.bytes())));
    if (!image.pixels) {
        throw std::bad_alloc();
    }
    return image;
}

} // namespace mrb::thumbnail
