#include "thumbnail/decode/jpeg.h"

#include <turbojpeg.h>

#include <cmath>
#include <memory>
#include <string_view>
#include <utility>

#include "base/deleter.h"
#include "thumbnail/decode/exif.h"
#include "thumbnail/decode/resize.h"
#include "thumbnail/decode/scratch.h"
#include "thumbnail/limits.h"
#include "thumbnail/orientation.h"

namespace mrb::thumbnail {
namespace {

// One JPEG being decoded; lives on the stack of the decoding thread.
class Decoder {
  public:
    explicit Decoder(ByteSpan data) : data_(data), handle_(tjInitDecompress()) {}

    bool readHeader() {
        int subsampling = 0;
        const bool clean =
            handle_ && tjDecompressHeader3(handle_.get(), data_.data(), data_.size(), &size_.width,
                                           &size_.height, &subsampling, &colours_) == 0;
        // It fails for skipped bytes as well.
        return clean || (handle_ && tjGetErrorCode(handle_.get()) == TJERR_WARNING && size_.width > 0);
    }
    [[nodiscard]] Size size() const { return size_; }

    // The picture at no less than twice the size of `target` where it has that many pixels, so
    // that the subsequent resizing determines the quality.
    Status decode(Size target, Pixels &pixels);

  private:
    bool decompress(Size scaled, int format, int flags, Bytes &pixels);
    [[nodiscard]] bool isHarmless() const;

    ByteSpan data_;
    std::unique_ptr<void, Deleter<tjDestroy>> handle_;
    Size size_;
    int colours_ = TJCS_RGB;
};

Size scaledSize(Size size, Size target) {
    // Only for these factors TurboJPEG has SIMD transforms.
    for (const int part : {8, 4, 2}) {
        const tjscalingfactor factor{1, part};
        const Size scaled{TJSCALED(size.width, factor), TJSCALED(size.height, factor)};
        if (scaled.width >= 2 * target.width && scaled.height >= 2 * target.height) {
            return scaled;
        }
    }
    return size;
}

// Converts CMYK to RGB. TurboJPEG returns the values as stored, which is inverted.
void toScreenColours(Bytes &pixels) {
    unsigned char *to = pixels.data();
    for (std::size_t at = 0; at + 4 <= pixels.size(); at += 4) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            *to++ = static_cast<unsigned char>((pixels[at + channel] * pixels[at + 3] + 127) / 255);
        }
    }
    pixels.resize(pixels.size() / 4 * 3);
}

// Whether the decoder's last warning is about bytes that it skipped without loss.
bool Decoder::isHarmless() const {
    return std::string_view(tjGetErrorStr2(handle_.get())).find("extraneous bytes") != std::string_view::npos;
}

bool Decoder::decompress(Size scaled, int format, int flags, Bytes &pixels) {
    return tjDecompress2(handle_.get(), data_.data(), data_.size(), pixels.data(), scaled.width, 0,
                         scaled.height, format, flags | TJFLAG_LIMITSCANS) == 0;
}

Status Decoder::decode(Size target, Pixels &pixels) {
    const Size scaled = scaledSize(size_, target);
    int format = TJPF_RGB;
    int channels = 3;
    if (colours_ == TJCS_GRAY) {
        format = TJPF_GRAY;
        channels = 1;
    } else if (colours_ == TJCS_CMYK || colours_ == TJCS_YCCK) {
        format = TJPF_CMYK;
        channels = 4;
    }
    Bytes &bytes = pixels.bytes;
    bytes.resize(std::size_t{1} * scaled.width * scaled.height * channels);
    // Warnings are about missing and damaged data; the first that matters stops decoding.
    bool whole = decompress(scaled, format, TJFLAG_STOPONWARNING, bytes);
    if (!whole && isHarmless()) {
        whole = decompress(scaled, format, 0, bytes) || isHarmless();
    }
    if (!whole) {
        return Status::corrupt(std::string("The picture is damaged: ") + tjGetErrorStr2(handle_.get()));
    }
    if (format == TJPF_CMYK) {
        toScreenColours(bytes);
        channels = 3;
    }
    pixels.size = scaled;
    pixels.channels = channels;
    return {};
}

// Decodes to the size of a picture of `original` pixels in the box.
Status decodeTo(Size original, Decoder &decoder, const Bytes &profile, int orientation,
                const DecodeRequest &request, const CancellationToken &cancellation, Decoded &decoded) {
    const int applied = request.orientation != 0 ? request.orientation : orientation;
    const Size target = fit(original, turned({request.width, request.height}, applied));
    Scratch memory;
    Pixels pixels{*memory};
    Status status = decoder.decode(target, pixels);
    if (status.ok() && cancellation.isCancelled()) {
        status = endOf(cancellation);
    }
    Image image;
    if (status.ok()) {
        if (pixels.channels == 3) {
            pixels.profile = profile;
        }
        status = resize(pixels, target, cancellation, image);
    }
    if (status.ok()) {
        addImage(std::move(image), original, orientation, request, decoded);
    }
    return status;
}

bool sameProportions(Size small, Size large) {
    const double width = static_cast<double>(large.width) * small.height / large.height;
    const double height = static_cast<double>(large.height) * small.width / large.width;
    return std::abs(width - small.width) <= 1 || std::abs(height - small.height) <= 1;
}

} // namespace

Status decodeJpeg(ByteSpan data, const DecodeRequest &request, const CancellationToken &cancellation,
                  Decoded &decoded) {
    Decoder decoder(data);
    const JpegSegments segments = readJpegSegments(data);
    if (!decoder.readHeader()) {
        return Status::corrupt("The picture is damaged: its header cannot be read.");
    }
    // A progressive picture is held in memory as coefficients of two bytes. It may be
    // progressive, too, when the segments could not be read completely.
    const bool kept = segments.progressive || !segments.complete;
    Status allowed = checkPictureSize(decoder.size().width, decoder.size().height, kept ? 6 : 3);
    if (!allowed.ok()) {
        return allowed;
    }
    return decodeTo(decoder.size(), decoder, segments.profile, readExif(segments.exif).orientation, request,
                    cancellation, decoded);
}

bool decodeEmbedded(ByteSpan head, const DecodeRequest &request, const CancellationToken &cancellation,
                    Decoded &decoded) {
    const JpegSegments segments = readJpegSegments(head);
    const ExifFields exif = readExif(segments.exif);
    Decoder whole(head);
    if (!segments.complete || exif.picture.empty() || !whole.readHeader()) {
        return false;
    }
    Decoder small(exif.picture);
    if (!small.readHeader() || !checkPictureSize(small.size().width, small.size().height, 3).ok()) {
        return false;
    }
    const int orientation = request.orientation != 0 ? request.orientation : exif.orientation;
    const Size target = fit(whole.size(), turned({request.width, request.height}, orientation));
    // Some cameras add bars at the sides; then it does not show the whole picture only.
    if (small.size().width < target.width || small.size().height < target.height ||
        !sameProportions(small.size(), whole.size())) {
        return false;
    }
    decoded.embedded =
        decodeTo(whole.size(), small, segments.profile, exif.orientation, request, cancellation, decoded)
            .ok();
    return decoded.embedded;
}

} // namespace mrb::thumbnail
