// Audio by TagLib.

#include <aifffile.h>
#include <apefile.h>
#include <apetag.h>
#include <asffile.h>
#include <fileref.h>
#include <flacfile.h>
#include <id3v2tag.h>
#include <infotag.h>
#include <mp4file.h>
#include <mpcfile.h>
#include <mpegfile.h>
#include <opusfile.h>
#include <speexfile.h>
#include <tpropertymap.h>
#include <vorbisfile.h>
#include <wavfile.h>
#include <wavpackfile.h>
#include <xiphcomment.h>

#include <charconv>

#include "media/media_types.h"
#include "metadata/readers/music_stream.h"
#include "metadata/readers/readers.h"

namespace mrb {
namespace {

std::string utf8(const TagLib::String &text) {
    // A tag may hold megabytes; only its start is shown.
    return text.substr(0, Metadata::MAX_TEXT_LENGTH).to8Bit(true);
}

// A number at the start of `text`; 0 when there is none.
std::int64_t leadingNumber(std::string_view text) {
    std::int32_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

void setPositive(Metadata &metadata, MetadataKey key, std::int64_t number) {
    if (number > 0) {
        metadata.setNumber(key, number);
    }
}

// "3/12", or "3" and the total in another tag.
void readTracks(const TagLib::PropertyMap &properties, Metadata &metadata) {
    const auto first = [&](const char *name) {
        const auto found = properties.find(name);
        return found == properties.end() || found->second.isEmpty() ? std::string()
                                                                    : utf8(found->second.front());
    };
    const std::string track = first("TRACKNUMBER");
    setPositive(metadata, MetadataKey::TRACK, leadingNumber(track));
    const std::size_t slash = track.find('/');
    std::int64_t tracks =
        slash == std::string::npos ? 0 : leadingNumber(std::string_view(track).substr(slash + 1));
    for (const char *name : {"TRACKTOTAL", "TOTALTRACKS"}) {
        tracks = tracks > 0 ? tracks : leadingNumber(first(name));
    }
    setPositive(metadata, MetadataKey::TRACKS, tracks);
}

bool hasPicture(const TagLib::ID3v2::Tag *tag) { return tag != nullptr && !tag->frameList("APIC").isEmpty(); }

bool hasPicture(const TagLib::APE::Tag *tag) {
    return tag != nullptr && tag->itemListMap().contains("COVER ART (FRONT)");
}

bool hasPicture(TagLib::Ogg::XiphComment *tag) { return tag != nullptr && !tag->pictureList().isEmpty(); }

// Values that TagLib has only in the class of each format: codec, bits per sample, cover.
struct Details {
    const char *codec = "";
    int sampleBits = 0;
    bool hasCover = false;
};

const char *codecOf(const TagLib::MP4::Properties &properties) {
    switch (properties.codec()) {
    case TagLib::MP4::Properties::AAC:
        return "aac";
    case TagLib::MP4::Properties::ALAC:
        return "alac";
    default:
        return "";
    }
}

const char *codecOf(const TagLib::MPEG::Properties &properties) {
    switch (properties.layer()) {
    case 1:
        return "mp1";
    case 2:
        return "mp2";
    case 3:
        return "mp3";
    default:
        return "";
    }
}

const char *codecOf(const TagLib::ASF::Properties &properties) {
    switch (properties.codec()) {
    case TagLib::ASF::Properties::WMA1:
        return "wmav1";
    case TagLib::ASF::Properties::WMA2:
        return "wmav2";
    case TagLib::ASF::Properties::WMA9Pro:
        return "wmapro";
    case TagLib::ASF::Properties::WMA9Lossless:
        return "wmalossless";
    default:
        return "";
    }
}

// The names are libav's codec names.
Details detailsOf(TagLib::File *file) {
    if (auto *mpeg = dynamic_cast<TagLib::MPEG::File *>(file)) {
        return {codecOf(*mpeg->audioProperties()), 0, hasPicture(mpeg->ID3v2Tag())};
    }
    if (auto *flac = dynamic_cast<TagLib::FLAC::File *>(file)) {
        return {"flac", flac->audioProperties()->bitsPerSample(),
                !flac->pictureList().isEmpty() || hasPicture(flac->ID3v2Tag())};
    }
    if (auto *mp4 = dynamic_cast<TagLib::MP4::File *>(file)) {
        return {codecOf(*mp4->audioProperties()), mp4->audioProperties()->bitsPerSample(),
                mp4->tag() != nullptr && mp4->tag()->contains("covr")};
    }
    if (auto *vorbis = dynamic_cast<TagLib::Ogg::Vorbis::File *>(file)) {
        return {"vorbis", 0, hasPicture(vorbis->tag())};
    }
    if (auto *opus = dynamic_cast<TagLib::Ogg::Opus::File *>(file)) {
        return {"opus", 0, hasPicture(opus->tag())};
    }
    if (auto *speex = dynamic_cast<TagLib::Ogg::Speex::File *>(file)) {
        return {"speex", 0, hasPicture(speex->tag())};
    }
    if (auto *asf = dynamic_cast<TagLib::ASF::File *>(file)) {
        return {codecOf(*asf->audioProperties()), asf->audioProperties()->bitsPerSample(),
                asf->tag() != nullptr && asf->tag()->contains("WM/Picture")};
    }
    if (auto *wav = dynamic_cast<TagLib::RIFF::WAV::File *>(file)) {
        return {"", wav->audioProperties()->bitsPerSample(), hasPicture(wav->ID3v2Tag())};
    }
    if (auto *aiff = dynamic_cast<TagLib::RIFF::AIFF::File *>(file)) {
        return {"", aiff->audioProperties()->bitsPerSample(), hasPicture(aiff->tag())};
    }
    if (auto *ape = dynamic_cast<TagLib::APE::File *>(file)) {
        return {"ape", ape->audioProperties()->bitsPerSample(), hasPicture(ape->APETag())};
    }
    if (auto *wavpack = dynamic_cast<TagLib::WavPack::File *>(file)) {
        return {"wavpack", wavpack->audioProperties()->bitsPerSample(), hasPicture(wavpack->APETag())};
    }
    if (auto *musepack = dynamic_cast<TagLib::MPC::File *>(file)) {
        return {"musepack", 0, hasPicture(musepack->APETag())};
    }
    return {};
}

void readTag(const TagLib::Tag &tag, Metadata &metadata) {
    metadata.setText(MetadataKey::TITLE, utf8(tag.title()));
    metadata.setText(MetadataKey::ARTIST, utf8(tag.artist()));
    metadata.setText(MetadataKey::ALBUM, utf8(tag.album()));
    metadata.setText(MetadataKey::GENRE, utf8(tag.genre()));
    if (const unsigned year = tag.year(); year > 0 && year <= 9999) {
        metadata.setText(MetadataKey::YEAR, std::to_string(year));
    }
}

// Of a WAV file TagLib returns the ID3 tag, but most have an INFO chunk instead.
const TagLib::Tag *tagOf(const TagLib::FileRef &reference) {
    if (auto *wav = dynamic_cast<TagLib::RIFF::WAV::File *>(reference.file())) {
        if (wav->hasInfoTag() && !wav->hasID3v2Tag()) {
            return wav->InfoTag();
        }
    }
    return reference.tag();
}

void readSound(const TagLib::AudioProperties &sound, Metadata &metadata) {
    constexpr std::int64_t KILOBIT = 1000;
    setPositive(metadata, MetadataKey::DURATION, sound.lengthInMilliseconds());
    setPositive(metadata, MetadataKey::BITRATE, sound.bitrate() * KILOBIT);
    setPositive(metadata, MetadataKey::SAMPLE_RATE, sound.sampleRate());
}

} // namespace

bool readMusic(MediaFile &file, const Signature &signature, Metadata &metadata) {
    // TagLib prefers the extension of the name.
    MusicStream stream(file, std::string("file.") + signature.format);
    const TagLib::FileRef reference(&stream);
    if (reference.isNull() || !reference.file()->isValid()) {
        return false;
    }
    if (const TagLib::Tag *tag = tagOf(reference)) {
        readTag(*tag, metadata);
    }
    readTracks(reference.file()->properties(), metadata);
    if (const TagLib::AudioProperties *sound = reference.audioProperties()) {
        readSound(*sound, metadata);
        const Details details = detailsOf(reference.file());
        metadata.setText(MetadataKey::AUDIO_CODEC, details.codec);
        setPositive(metadata, MetadataKey::SAMPLE_BITS, details.sampleBits);
        metadata.setNumber(MetadataKey::HAS_COVER, details.hasCover ? 1 : 0);
    }
    metadata.setNumber(MetadataKey::HAS_ONLY_SOUND, 1);
    return true;
}

} // namespace mrb
