// Video, and all formats that only libav reads.

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/error.h>
}

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>

#include "base/deleter.h"
#include "media/media_types.h"
#include "metadata/formats.h"
#include "metadata/readers/readers.h"

namespace mrb {
namespace {

// Only formats that do not open other files or the network.
constexpr const char *FORMATS = "mov,mp4,m4a,3gp,3g2,mj2,matroska,webm,avi,mpegts,mpeg,mpegvideo,m4v,asf,flv,"
                                "ogg,rm,mp3,aac,ac3,eac3,amr,wav,aiff,flac,ape,mpc,mpc8,wv,dsf,tiff_pipe,"
                                "jpegxl_pipe,jpegxl_anim";
constexpr std::int64_t MAX_PROBE_BYTES = 2LL << 20;
// The maximum time for analysing streams, where the container's header is incomplete.
constexpr std::int64_t MAX_ANALYSIS_TIME = 2LL * AV_TIME_BASE;
constexpr int BLOCK = 64 << 10;

struct Stream {
    MediaFile &file;
    std::int64_t position = 0;
};

int readBlock(void *user, std::uint8_t *buffer, int length) {
    auto &stream = *static_cast<Stream *>(user);
    const std::size_t got = stream.file.read(stream.position, buffer, static_cast<std::size_t>(length));
    stream.position += static_cast<std::int64_t>(got);
    return got > 0 ? static_cast<int>(got) : AVERROR_EOF;
}

std::int64_t seek(void *user, std::int64_t offset, int whence) {
    auto &stream = *static_cast<Stream *>(user);
    std::int64_t start = 0;
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return stream.file.size();
    case SEEK_SET:
        break;
    case SEEK_CUR:
        start = stream.position;
        break;
    case SEEK_END:
        start = stream.file.size();
        break;
    default:
        return AVERROR(EINVAL);
    }
    // The numbers may come from a hostile file.
    if (__builtin_add_overflow(start, offset, &offset) || offset < 0) {
        return AVERROR(EINVAL);
    }
    stream.position = offset;
    return offset;
}

int isOver(void *stream) { return static_cast<Stream *>(stream)->file.isExhausted() ? 1 : 0; }

int openNothing(AVFormatContext * /*context*/, AVIOContext ** /*io*/, const char * /*url*/, int /*flags*/,
                AVDictionary ** /*options*/) {
    return AVERROR(EPERM);
}

void freeInput(AVIOContext *io) {
    av_freep(static_cast<void *>(&io->buffer));
    avio_context_free(&io);
}
using Input = std::unique_ptr<AVIOContext, Deleter<freeInput>>;
using Container = std::unique_ptr<AVFormatContext, Deleter<avformat_close_input>>;

Input makeInput(Stream &stream) {
    auto *buffer = static_cast<unsigned char *>(av_malloc(BLOCK));
    Input input(buffer == nullptr ? nullptr
                                  : avio_alloc_context(buffer, BLOCK, 0, &stream, readBlock, nullptr, seek));
    if (!input) {
        av_free(buffer);
    }
    return input;
}

Container openContainer(Stream &stream, AVIOContext *input, const char *name) {
    AVFormatContext *context = avformat_alloc_context();
    if (context == nullptr) {
        return nullptr;
    }
    context->pb = input;
    context->io_open = openNothing;
    context->interrupt_callback = {isOver, &stream};
    context->probesize = MAX_PROBE_BYTES;
    context->max_analyze_duration = MAX_ANALYSIS_TIME;
    context->format_whitelist = av_strdup(FORMATS);
    // On failure it frees the context itself.
    return Container(avformat_open_input(&context, name, nullptr, nullptr) == 0 ? context : nullptr);
}

bool isCover(const AVStream &stream) { return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0; }

bool needsAnalysis(const AVFormatContext &container) {
    if (container.duration <= 0 || container.nb_streams == 0) {
        return true;
    }
    for (unsigned index = 0; index < container.nb_streams; ++index) {
        const AVStream &stream = *container.streams[index];
        const AVCodecParameters &codec = *stream.codecpar;
        const bool isMedium =
            codec.codec_type == AVMEDIA_TYPE_VIDEO || codec.codec_type == AVMEDIA_TYPE_AUDIO;
        if (isMedium && codec.codec_id == AV_CODEC_ID_NONE) {
            return true;
        }
        if (codec.codec_type == AVMEDIA_TYPE_VIDEO && !isCover(stream) && codec.width <= 0) {
            return true;
        }
    }
    return false;
}

std::string_view tag(const AVDictionary *tags, const char *name) {
    const AVDictionaryEntry *entry = av_dict_get(tags, name, nullptr, 0);
    return entry == nullptr ? std::string_view() : std::string_view(entry->value);
}

std::string_view firstTag(const AVDictionary *tags, std::initializer_list<const char *> names) {
    for (const char *name : names) {
        if (const std::string_view value = tag(tags, name); !value.empty()) {
            return value;
        }
    }
    return {};
}

const std::uint8_t *sideData(const AVStream &stream, AVPacketSideDataType type, std::size_t minimum) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 30, 100)
    const AVPacketSideData *found =
        av_packet_side_data_get(stream.codecpar->coded_side_data, stream.codecpar->nb_coded_side_data, type);
    return found != nullptr && found->size >= minimum ? found->data : nullptr;
#else
    std::size_t size = 0;
    const std::uint8_t *data = av_stream_get_side_data(&stream, type, &size);
    return data != nullptr && size >= minimum ? data : nullptr;
#endif
}

// The rotation that shows the picture upright, as EXIF counts it.
int orientationOf(const AVStream &stream) {
    constexpr std::size_t MATRIX = 9 * sizeof(std::int32_t);
    const std::uint8_t *data = sideData(stream, AV_PKT_DATA_DISPLAYMATRIX, MATRIX);
    if (data == nullptr) {
        return 1;
    }
    std::int32_t matrix[9];
    std::memcpy(matrix, data, MATRIX);
    const double counterClockwise = av_display_rotation_get(matrix);
    if (std::isnan(counterClockwise)) {
        return 1;
    }
    const long quarters = (std::lround(-counterClockwise / 90) % 4 + 4) % 4;
    constexpr int BY_QUARTERS[] = {1, 6, 3, 8};
    return BY_QUARTERS[quarters];
}

void readPicture(const AVStream &stream, Metadata &metadata) {
    const AVCodecParameters &codec = *stream.codecpar;
    metadata.setText(MetadataKey::VIDEO_CODEC, avcodec_get_name(codec.codec_id));
    if (codec.width <= 0 || codec.height <= 0) {
        return;
    }
    metadata.setNumber(MetadataKey::WIDTH, codec.width);
    metadata.setNumber(MetadataKey::HEIGHT, codec.height);
    const int orientation = orientationOf(stream);
    metadata.setNumber(MetadataKey::ORIENTATION, orientation);
    AVRational pixel =
        stream.sample_aspect_ratio.num > 0 ? stream.sample_aspect_ratio : codec.sample_aspect_ratio;
    pixel = pixel.num > 0 && pixel.den > 0 ? pixel : AVRational{1, 1};
    double ratio =
        static_cast<double>(codec.width) * pixel.num / (static_cast<double>(codec.height) * pixel.den);
    ratio = orientation >= 5 ? 1 / ratio : ratio;
    constexpr double THOUSAND = 1000;
    constexpr double MOST = std::numeric_limits<std::int32_t>::max();
    // A video with an aspect ratio never gets 0.
    metadata.setNumber(MetadataKey::ASPECT_RATIO, std::llround(std::clamp(ratio * THOUSAND, 1.0, MOST)));
}

void readSound(const AVStream &stream, Metadata &metadata) {
    const AVCodecParameters &codec = *stream.codecpar;
    metadata.setText(MetadataKey::AUDIO_CODEC, avcodec_get_name(codec.codec_id));
    if (codec.sample_rate > 0) {
        metadata.setNumber(MetadataKey::SAMPLE_RATE, codec.sample_rate);
    }
    const int bits = codec.bits_per_raw_sample > 0 ? codec.bits_per_raw_sample : codec.bits_per_coded_sample;
    if (bits > 0) {
        metadata.setNumber(MetadataKey::SAMPLE_BITS, bits);
    }
}

void readStreams(const AVFormatContext &container, Metadata &metadata) {
    const AVStream *picture = nullptr;
    const AVStream *sound = nullptr;
    bool hasCover = false;
    bool hasSubtitles = false;
    bool isEncrypted = false;
    std::string languages;
    for (unsigned index = 0; index < container.nb_streams; ++index) {
        const AVStream &stream = *container.streams[index];
        isEncrypted = isEncrypted || sideData(stream, AV_PKT_DATA_ENCRYPTION_INIT_INFO, 1) != nullptr;
        switch (stream.codecpar->codec_type) {
        case AVMEDIA_TYPE_VIDEO:
            hasCover = hasCover || isCover(stream);
            picture = picture == nullptr && !isCover(stream) ? &stream : picture;
            break;
        case AVMEDIA_TYPE_AUDIO: {
            sound = sound == nullptr ? &stream : sound;
            const std::string language = cleanText(tag(stream.metadata, "language").substr(0, 16));
            const bool isNew = !language.empty() && language != "und" &&
                               (',' + languages + ',').find(',' + language + ',') == std::string::npos;
            if (isNew && languages.size() < Metadata::MAX_TEXT_LENGTH) {
                languages += (languages.empty() ? "" : ",") + language;
            }
            break;
        }
        case AVMEDIA_TYPE_SUBTITLE:
            hasSubtitles = true;
            break;
        default:
            break;
        }
    }
    if (picture != nullptr) {
        readPicture(*picture, metadata);
    }
    if (sound != nullptr) {
        readSound(*sound, metadata);
    }
    metadata.setText(MetadataKey::LANGUAGE, languages);
    metadata.setNumber(MetadataKey::HAS_COVER, hasCover ? 1 : 0);
    metadata.setNumber(MetadataKey::HAS_SUBTITLES, hasSubtitles ? 1 : 0);
    metadata.setNumber(MetadataKey::HAS_ONLY_SOUND, sound != nullptr && picture == nullptr ? 1 : 0);
    metadata.setNumber(MetadataKey::IS_ENCRYPTED, isEncrypted ? 1 : 0);
}

// ISO 6709, as in "+48.8584+002.2945+035.0/".
void readPosition(std::string_view position, Metadata &metadata) {
    const GeoPosition read = positionOfIso(position);
    if (read.isKnown) {
        metadata.setReal(MetadataKey::LATITUDE, read.latitude);
        metadata.setReal(MetadataKey::LONGITUDE, read.longitude);
        if (read.hasAltitude) {
            metadata.setReal(MetadataKey::ALTITUDE, read.altitude);
        }
    }
}

void readTags(const AVFormatContext &container, Metadata &metadata) {
    // Ogg keeps the tags with the first stream.
    const AVDictionary *tags = container.metadata;
    if (av_dict_count(tags) == 0 && container.nb_streams > 0) {
        tags = container.streams[0]->metadata;
    }
    metadata.setText(MetadataKey::TITLE, tag(tags, "title"));
    metadata.setText(MetadataKey::ARTIST, tag(tags, "artist"));
    metadata.setText(MetadataKey::ALBUM, tag(tags, "album"));
    metadata.setText(MetadataKey::GENRE, tag(tags, "genre"));
    metadata.setText(MetadataKey::SYNOPSIS, firstTag(tags, {"synopsis", "description", "comment"}));
    metadata.setText(MetadataKey::MODEL, firstTag(tags, {"com.apple.quicktime.model", "model"}));
    metadata.setText(MetadataKey::DATE_TAKEN, dateOfIso(tag(tags, "creation_time")));
    const std::string_view date = firstTag(tags, {"date", "year"});
    if (const std::string year = yearOf(date); !year.empty()) {
        metadata.setText(MetadataKey::YEAR, year);
    }
    readPosition(firstTag(tags, {"com.apple.quicktime.location.ISO6709", "location"}), metadata);
}

// Opens a container while `work` runs with it; does nothing where the file is not a container.
template <typename Work>
void withContainer(MediaFile &file, const Signature &signature, Work &&work) {
    static std::once_flag silenced;
    // Damage in a user's video must not be logged to the application's terminal.
    std::call_once(silenced, [] { av_log_set_level(AV_LOG_QUIET); });
    Stream stream{file};
    const Input input = makeInput(stream);
    if (!input) {
        return;
    }
    const std::string name = std::string("file.") + signature.format;
    if (const Container container = openContainer(stream, input.get(), name.c_str())) {
        work(*container);
    }
}

// As libav computes it after analysing the streams: all bytes by the duration.
void readTimes(const AVFormatContext &container, std::int64_t size, Metadata &metadata) {
    constexpr std::int64_t MICROSECONDS = AV_TIME_BASE / 1000;
    constexpr double BITS = 8;
    if (container.duration <= 0) {
        return;
    }
    metadata.setNumber(MetadataKey::DURATION, container.duration / MICROSECONDS);
    const double seconds = static_cast<double>(container.duration) / AV_TIME_BASE;
    const double rate = container.bit_rate > 0 ? static_cast<double>(container.bit_rate)
                                               : static_cast<double>(size) * BITS / seconds;
    if (rate >= 1 && rate < static_cast<double>(std::numeric_limits<std::int64_t>::max())) {
        metadata.setNumber(MetadataKey::BITRATE, static_cast<std::int64_t>(rate));
    }
}

} // namespace

void readContainer(MediaFile &file, const Signature &signature, Metadata &metadata) {
    withContainer(file, signature, [&](AVFormatContext &container) {
        if (needsAnalysis(container)) {
            avformat_find_stream_info(&container, nullptr);
        }
        if (signature.medium != Medium::PICTURE) {
            readTimes(container, file.size(), metadata);
        }
        readTags(container, metadata);
        readStreams(container, metadata);
    });
}

void readSoundCodec(MediaFile &file, const Signature &signature, Metadata &metadata) {
    withContainer(file, signature, [&](const AVFormatContext &container) {
        for (unsigned index = 0; index < container.nb_streams; ++index) {
            const AVCodecParameters &codec = *container.streams[index]->codecpar;
            if (codec.codec_type == AVMEDIA_TYPE_AUDIO && codec.codec_id != AV_CODEC_ID_NONE) {
                metadata.setText(MetadataKey::AUDIO_CODEC, avcodec_get_name(codec.codec_id));
                return;
            }
        }
    });
}

} // namespace mrb
