#include "support/thumbnails.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "support/client.h"
#include "support/programs.h"

namespace support {

Thumbnails::Thumbnails() { EXPECT_EQ(thumbnail_init(), MRB_ERR_NONE); }

Thumbnails::~Thumbnails() { EXPECT_EQ(thumbnail_finalize(), MRB_ERR_NONE); }

_thumb_request Thumbnails::recordOf(const ThumbnailOptions &options, PendingRequest *pending) {
    _thumb_request record{};
    record.origin_path = options.path.c_str();
    record.media_type = options.mediaType;
    record.source_type = options.sourceType;
    record.orientation = options.orientation;
    record.thumb_width = options.width;
    record.thumb_height = options.height;
    record.used_cache = options.usedCache;
    record.video_frame_count = static_cast<std::uint8_t>(options.frames);
    record.callback = receive;
    record.user_data = pending;
    return record;
}

std::size_t Thumbnails::request(const ThumbnailOptions &options) {
    PendingRequest *pending = nullptr;
    {
        const std::lock_guard guard(lock_);
        pending =
            requests_.emplace_back(new PendingRequest{this, requests_.size(), options, false, 0, {}}).get();
    }
    EXPECT_EQ(thumbnail_request_async(recordOf(options, pending)), MRB_ERR_NONE);
    return pending->number;
}

int Thumbnails::cancel(std::size_t number) {
    PendingRequest *pending = nullptr;
    {
        const std::lock_guard guard(lock_);
        pending = requests_[number].get();
    }
    const int code = thumbnail_request_cancel(recordOf(pending->options, pending));
    const std::lock_guard guard(lock_);
    pending->cancelled = pending->cancelled || code == MRB_ERR_NONE;
    arrived_.notify_all();
    return code;
}

int Thumbnails::cancelLike(const ThumbnailOptions &options) {
    return thumbnail_request_cancel(recordOf(options, nullptr));
}

Thumbnail Thumbnails::get(const ThumbnailOptions &options) {
    const std::size_t number = request(options);
    waitForAll();
    return resultOf(number);
}

bool Thumbnails::waitForAll() {
    std::unique_lock guard(lock_);
    const bool came = arrived_.wait_for(guard, LIMIT, [this] {
        return std::ranges::all_of(
            requests_, [](const auto &pending) { return pending->cancelled || pending->results > 0; });
    });
    EXPECT_TRUE(came) << "a request was not answered";
    return came;
}

Thumbnail Thumbnails::resultOf(std::size_t number) {
    const std::lock_guard guard(lock_);
    return requests_[number]->last;
}

int Thumbnails::resultCount(std::size_t number) {
    const std::lock_guard guard(lock_);
    return requests_[number]->results;
}

bool Thumbnails::wasCancelled(std::size_t number) {
    const std::lock_guard guard(lock_);
    return requests_[number]->cancelled;
}

int Thumbnails::receive(int code, thumb_result_s *result, void *data) {
    auto &pending = *static_cast<PendingRequest *>(data);
    Thumbnails &client = *pending.client;
    if (client.onResult) {
        client.onResult(pending.number, *result);
    }
    Thumbnail thumbnail;
    thumbnail.code = code;
    thumbnail.origin = result->origin_path;
    thumbnail.bufferSize = result->buffer_size;
    thumbnail.depth = result->image_depth;
    thumbnail.whole = result->flag_origin_image;
    thumbnail.hadPreset = result->preset_buffer != nullptr;
    if (thumbnail.hadPreset) {
        thumbnail.preset = result->preset_buffer;
    }
    for (int index = 0; index < result->image_count; ++index) {
        Bitmap image;
        image.width = result->image_width;
        image.height = result->image_height;
        image.timeStamp = result->time_stamp[index];
        image.pixels.assign(reinterpret_cast<const char *>(result->image_buffer[index]),
                            static_cast<std::size_t>(result->buffer_size));
        thumbnail.images.push_back(std::move(image));
        std::free(result->image_buffer[index]);
    }
    std::free(result->preset_buffer);
    const std::lock_guard guard(client.lock_);
    pending.last = std::move(thumbnail);
    ++pending.results;
    client.arrived_.notify_all();
    return 1;
}

double psnr(const Bitmap &one, const Bitmap &other) {
    if (one.width != other.width || one.height != other.height || one.pixels.size() != other.pixels.size()) {
        return -1;
    }
    const auto byte = [](const Bitmap &picture, std::size_t at) {
        return static_cast<double>(static_cast<unsigned char>(picture.pixels[at]));
    };
    double squares = 0;
    for (std::size_t at = 0; at < one.pixels.size(); at += 4) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const double difference = byte(one, at + channel) * byte(one, at + 3) / 255 -
                                      byte(other, at + channel) * byte(other, at + 3) / 255;
            squares += difference * difference;
        }
    }
    const double mean = squares / (static_cast<double>(one.pixels.size()) / 4 * 3);
    return mean > 0 ? 10 * std::log10(255.0 * 255.0 / mean) : std::numeric_limits<double>::infinity();
}

Bitmap scaledByImageMagick(const std::string &path, int width, int height) {
    Bitmap scaled;
    scaled.width = width;
    scaled.height = height;
    scaled.pixels = outputOf({"convert-im6.q16", path + "[0]", "-auto-orient", "-resize",
                              std::to_string(width) + "x" + std::to_string(height) + "!", "-colorspace",
                              "sRGB", "-depth", "8", "bgra:-"});
    return scaled;
}

} // namespace support
