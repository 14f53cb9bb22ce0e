#pragma once

#include "base/cancellation.h"
#include "thumbnail/media_file.h"

namespace mrb::thumbnail {

// What takes libav and TagLib: films, covers in music, and pictures that only they know.
// They take a third of the time to load the decoders, so they are a library of their own.
// Its functions may be called from any thread.
struct Films {
    // Frames of a video, spread over its running time.
    Status (*decodeVideo)(const MediaFile &file, const DecodeRequest &request, const CancellationToken &stop,
                          Decoded &decoded);

    // A picture in a format that libav alone knows, such as BMP.
    Status (*decodeStill)(const MediaFile &file, const DecodeRequest &request, const CancellationToken &stop,
                          Decoded &decoded);

    // The picture file that a music file carries as its cover. MRB_ERR_NOT_FOUND: it has none.
    Status (*readCover)(const MediaFile &file, const std::string &path, const CancellationToken &stop,
                        Bytes &cover);

    // Has libheif, which libvips reads HEIC files with, decode their pictures by libav: that
    // takes a fifth less time than libheif's usual decoder. For the whole process, as soon
    // as one asks for it.
    void (*preferLibavForHevc)();
};

// Loaded when they are first asked for. Throws MissingModule when they cannot be.
const Films &films();

// What that library exports. Called in a LoadingTurn, once.
using FindFilms = const Films *();
extern "C" [[gnu::visibility("default")]] FindFilms mrb_films;
inline constexpr const char *FILMS_SYMBOL = "mrb_films";

} // namespace mrb::thumbnail
