// A program that makes thumbnails with the framework's service, so that it can be timed
// like others:
//
//     thumbnailer SIZE FRAMES FOLDER FILE...
//
// requests all files at once, in boxes SIZE pixels wide and somewhat higher, and writes
// each image as a bitmap into FOLDER. With a FOLDER of "-" nothing is written. Prints a JSON
// object: the seconds for all, those from the last request to the first result (with all
// others pending), the failures, and the peak memory of the process in KiB.

#include <sys/resource.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "mrb/thumbnail.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Run {
    std::string folder;
    std::mutex lock;
    std::condition_variable done;
    std::size_t answers = 0;
    std::size_t failures = 0;
    Clock::time_point first;
};

struct One {
    Run *run;
    std::size_t number;
};

void put(unsigned char *header, int at, int number) {
    for (int index = 0; index < 4; ++index) {
        header[at + index] = static_cast<unsigned char>(number >> (8 * index));
    }
}

void write(const One &one, const thumb_result_s &result, int index) {
    unsigned char header[54] = {'B', 'M'};
    put(header, 2, 54 + result.buffer_size);
    put(header, 10, 54);
    put(header, 14, 40);
    put(header, 18, result.image_width);
    put(header, 22, -result.image_height);
    header[26] = 1;
    header[28] = 32;
    const std::string path =
        one.run->folder + '/' + std::to_string(one.number) + '-' + std::to_string(index) + ".bmp";
    if (std::FILE *file = std::fopen(path.c_str(), "wb")) {
        std::fwrite(header, 1, sizeof header, file);
        std::fwrite(result.image_buffer[index], 1, static_cast<std::size_t>(result.buffer_size), file);
        std::fclose(file);
    }
}

int receive(int code, thumb_result_s *result, void *data) {
    const auto &one = *static_cast<One *>(data);
    for (int index = 0; index < result->image_count; ++index) {
        if (one.run->folder != "-") {
            write(one, *result, index);
        }
        std::free(result->image_buffer[index]);
    }
    std::free(result->preset_buffer);
    const std::lock_guard guard(one.run->lock);
    if (one.run->answers++ == 0) {
        one.run->first = Clock::now();
    }
    one.run->failures += code == 0 ? 0 : 1;
    one.run->done.notify_all();
    return 1;
}

double seconds(Clock::duration time) { return std::chrono::duration<double>(time).count(); }

} // namespace

int main(int count, char **arguments) {
    if (count < 5) {
        std::fputs("usage: thumbnailer SIZE FRAMES FOLDER FILE...\n", stderr);
        return 1;
    }
    Run run;
    run.folder = arguments[3];
    const auto began = Clock::now();
    thumbnail_init();
    std::vector<One> all;
    all.reserve(static_cast<std::size_t>(count));
    for (int index = 4; index < count; ++index) {
        all.push_back({&run, all.size() + 1});
        _thumb_request request{};
        request.origin_path = arguments[index];
        request.thumb_width = std::atoi(arguments[1]);
        // No two requests are the same, also when a file is named twice.
        request.thumb_height = std::atoi(arguments[1]) + static_cast<int>(all.size());
        request.video_frame_count = static_cast<std::uint8_t>(std::atoi(arguments[2]));
        request.callback = receive;
        request.user_data = &all.back();
        if (thumbnail_request_async(request) != MRB_ERR_NONE) {
            return 1;
        }
    }
    const auto requested = Clock::now();
    {
        std::unique_lock guard(run.lock);
        run.done.wait(guard, [&] { return run.answers == all.size(); });
    }
    const auto ended = Clock::now();
    thumbnail_finalize();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf(R"({"seconds":%.4f,"first":%.4f,"failures":%zu,"kibibytes":%ld})"
                "\n",
                seconds(ended - began), seconds(run.first - requested), run.failures, usage.ru_maxrss);
    return 0;
}
