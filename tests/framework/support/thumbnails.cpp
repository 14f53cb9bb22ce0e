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

_thumb_request Thumbnails::recordOf(const Wish &wish, Asked *asked) {
    _thumb_request record{};
    record.origin_path = wish.path.c_str();
    record.media_type = wish.mediaType;
    record.source_type = wish.sourceType;
    record.orientation = wish.orientation;
    record.thumb_width = wish.width;
    record.thumb_height = wish.height;
    record.used_cache = wish.usedCache;
    record.video_frame_count = static_cast<std::uint8_t>(wish.frames);
    record.callback = hear;
    record.user_data = asked;
    return record;
}

std::size_t Thumbnails::ask(const Wish &wish) {
    Asked *asked = nullptr;
    {
        const std::lock_guard guard(lock_);
        asked = asked_.emplace_back(new Asked{this, asked_.size(), wish, false, 0, {}}).get();
    }
    EXPECT_EQ(thumbnail_request_async(recordOf(wish, asked)), MRB_ERR_NONE);
    return asked->number;
}

int Thumbnails::cancel(std::size_t number) {
    Asked *asked = nullptr;
    {
        const std::lock_guard guard(lock_);
        asked = asked_[number].get();
    }
    const int code = thumbnail_request_cancel(recordOf(asked->wish, asked));
    const std::lock_guard guard(lock_);
    asked->cancelled = asked->cancelled || code == MRB_ERR_NONE;
    arrived_.notify_all();
    return code;
}

int Thumbnails::cancelLike(const Wish &wish) { return thumbnail_request_cancel(recordOf(wish, nullptr)); }

Thumbnail Thumbnails::get(const Wish &wish) {
    const std::size_t number = ask(wish);
    waitForAll();
    return answerTo(number);
}

bool Thumbnails::waitForAll() {
    std::unique_lock guard(lock_);
    const bool came = arrived_.wait_for(guard, LIMIT, [this] {
        return std::ranges::all_of(asked_,
                                   [](const auto &asked) { return asked->cancelled || asked->answers > 0; });
    });
    EXPECT_TRUE(came) << "a request was not answered";
    return came;
}

Thumbnail Thumbnails::answerTo(std::size_t number) {
    const std::lock_guard guard(lock_);
    return asked_[number]->answer;
}

int Thumbnails::answersTo(std::size_t number) {
    const std::lock_guard guard(lock_);
    return asked_[number]->answers;
}

bool Thumbnails::wasCancelled(std::size_t number) {
    const std::lock_guard guard(lock_);
    return asked_[number]->cancelled;
}

int Thumbnails::hear(int code, thumb_result_s *result, void *data) {
    auto &asked = *static_cast<Asked *>(data);
    Thumbnails &client = *asked.client;
    if (client.onResult) {
        client.onResult(asked.number, *result);
    }
    Thumbnail answer;
    answer.code = code;
    answer.origin = result->origin_path;
    answer.bufferSize = result->buffer_size;
    answer.depth = result->image_depth;
    answer.whole = result->flag_origin_image;
    answer.hadPreset = result->preset_buffer != nullptr;
    if (answer.hadPreset) {
        answer.preset = result->preset_buffer;
    }
    for (int index = 0; index < result->image_count; ++index) {
        Bitmap image;
        image.width = result->image_width;
        image.height = result->image_height;
        image.timeStamp = result->time_stamp[index];
        image.pixels.assign(reinterpret_cast<const char *>(result->image_buffer[index]),
                            static_cast<std::size_t>(result->buffer_size));
        answer.images.push_back(std::move(image));
        std::free(result->image_buffer[index]);
    }
    std::free(result->preset_buffer);
    const std::lock_guard guard(client.lock_);
    asked.answer = std::move(answer);
    ++asked.answers;
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
