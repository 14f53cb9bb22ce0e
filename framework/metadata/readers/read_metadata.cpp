#include "metadata/reading.h"

#include <algorithm>
#include <exception>
#include <new>

#include "base/log.h"
#include "metadata/readers/readers.h"

namespace mrb {
namespace {

// TagLib first; libav for what TagLib does not know of the audio in its own formats.
void readSound(MediaFile &file, const Signature &signature, Metadata &facts) {
    if (!readMusic(file, signature, facts)) {
        readContainer(file, signature, facts);
    } else if (!facts.has(Fact::DURATION) || !facts.has(Fact::BITRATE) || !facts.has(Fact::SAMPLE_RATE)) {
        Metadata rest;
        readContainer(file, signature, rest);
        facts.fillGaps(rest);
    } else if (!facts.has(Fact::AUDIO_CODEC)) {
        readSoundCodec(file, signature, facts);
    }
}

void readMedium(MediaFile &file, const Signature &signature, Metadata &facts) {
    switch (signature.medium) {
    case Medium::JPEG:
        readJpeg(file, facts);
        break;
    case Medium::PNG:
        readPng(file, facts);
        break;
    case Medium::GIF:
        readGif(file, facts);
        break;
    case Medium::BMP:
        readBmp(file, facts);
        break;
    case Medium::WEBP:
        readWebp(file, facts);
        break;
    case Medium::HEIF:
        readHeif(file, facts);
        break;
    case Medium::MUSIC:
        readSound(file, signature, facts);
        break;
    case Medium::PICTURE:
    case Medium::FILM:
        readContainer(file, signature, facts);
        break;
    case Medium::NONE:
        break;
    }
}

bool isPicture(Medium medium) {
    return medium != Medium::NONE && medium != Medium::MUSIC && medium != Medium::FILM;
}

// The ratio as displayed, turned upright. A picture that has one never gets 0.
void setPictureRatio(Metadata &facts) {
    constexpr std::int64_t THOUSAND = 1000;
    std::int64_t width = facts.number(Fact::WIDTH);
    std::int64_t height = facts.number(Fact::HEIGHT);
    if (facts.number(Fact::ORIENTATION) >= 5) {
        std::swap(width, height);
    }
    if (width > 0 && height > 0) {
        facts.setNumber(Fact::ASPECT_RATIO,
                        std::max<std::int64_t>((width * THOUSAND + height / 2) / height, 1));
    }
}

} // namespace

void mrb_start_readers() { loadHeifPlugins(); }

void mrb_read_metadata(MediaFile &file, const std::string &name, Metadata &facts, Status &outcome) {
    const std::string head = file.read(0, SIGNATURE_BYTES);
    const Signature signature = signatureOf(head, name);
    facts.setText(Fact::MIME_TYPE, signature.mimeType);
    facts.setText(Fact::FORMAT, signature.format);
    outcome = {};
    try {
        readMedium(file, signature, facts);
    } catch (const std::bad_alloc &) {
        outcome = Status::outOfMemory("There is not enough memory to read \"" + name + "\".");
        return;
    } catch (const std::exception &failure) {
        // A reader reports a damaged file by this exception; metadata read before it stay.
        MRB_LOG_WARNING("The metadata of \"%s\" are damaged: %s", name.c_str(), failure.what());
    }
    if (isPicture(signature.medium)) {
        setPictureRatio(facts);
    }
    if (file.failed()) {
        outcome = {file.failure(), "\"" + name + "\" cannot be read to its end."};
    }
}

} // namespace mrb
