#include "metadata/reading.h"

#include <algorithm>
#include <exception>
#include <new>

#include "base/log.h"
#include "metadata/readers/readers.h"

namespace mrb {
namespace {

// TagLib first; libav for what TagLib does not know of the audio in its own formats.
void readSound(MediaFile &file, const Signature &signature, Metadata &metadata) {
    if (!readMusic(file, signature, metadata)) {
        readContainer(file, signature, metadata);
    } else if (!metadata.has(MetadataKey::DURATION) || !metadata.has(MetadataKey::BITRATE) ||
               !metadata.has(MetadataKey::SAMPLE_RATE)) {
        Metadata rest;
        readContainer(file, signature, rest);
        metadata.fillGaps(rest);
    } else if (!metadata.has(MetadataKey::AUDIO_CODEC)) {
        readSoundCodec(file, signature, metadata);
    }
}

void readMedium(MediaFile &file, const Signature &signature, Metadata &metadata) {
    switch (signature.medium) {
    case Medium::JPEG:
        readJpeg(file, metadata);
        break;
    case Medium::PNG:
        readPng(file, metadata);
        break;
    case Medium::GIF:
        readGif(file, metadata);
        break;
    case Medium::BMP:
        readBmp(file, metadata);
        break;
    case Medium::WEBP:
        readWebp(file, metadata);
        break;
    case Medium::HEIF:
        readHeif(file, metadata);
        break;
    case Medium::MUSIC:
        readSound(file, signature, metadata);
        break;
    case Medium::PICTURE:
    case Medium::FILM:
        readContainer(file, signature, metadata);
        break;
    case Medium::NONE:
        break;
    }
}

bool isPicture(Medium medium) {
    return medium != Medium::NONE && medium != Medium::MUSIC && medium != Medium::FILM;
}

// The ratio as displayed, turned upright. A picture that has one never gets 0.
void setPictureRatio(Metadata &metadata) {
    constexpr std::int64_t THOUSAND = 1000;
    std::int64_t width = metadata.number(MetadataKey::WIDTH);
    std::int64_t height = metadata.number(MetadataKey::HEIGHT);
    if (metadata.number(MetadataKey::ORIENTATION) >= 5) {
        std::swap(width, height);
    }
    if (width > 0 && height > 0) {
        metadata.setNumber(MetadataKey::ASPECT_RATIO,
                           std::max<std::int64_t>((width * THOUSAND + height / 2) / height, 1));
    }
}

} // namespace

void mrb_start_readers() { loadHeifPlugins(); }

void mrb_read_metadata(MediaFile &file, const std::string &name, Metadata &metadata, Status &status) {
    const std::string head = file.read(0, SIGNATURE_BYTES);
    const Signature signature = signatureOf(head, name);
    metadata.setText(MetadataKey::MIME_TYPE, signature.mimeType);
    metadata.setText(MetadataKey::FORMAT, signature.format);
    status = {};
    try {
        readMedium(file, signature, metadata);
    } catch (const std::bad_alloc &) {
        status = Status::outOfMemory("There is not enough memory to read \"" + name + "\".");
        return;
    } catch (const std::exception &failure) {
        // A reader reports a damaged file by this exception; metadata read before it stay.
        MRB_LOG_WARNING("The metadata of \"%s\" are damaged: %s", name.c_str(), failure.what());
    }
    if (isPicture(signature.medium)) {
        setPictureRatio(metadata);
    }
    if (file.failed()) {
        status = {file.failure(), "\"" + name + "\" cannot be read to its end."};
    }
}

} // namespace mrb
