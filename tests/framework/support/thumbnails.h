#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "mrb/agent.h"
#include "mrb/thumbnail.h"

namespace support {

// A picture in memory: blue, green, red, alpha.
struct Bitmap {
    int width = 0;
    int height = 0;
    std::string pixels;
    long long timeStamp = 0;
};

// A result, with its buffers copied and freed.
struct Thumbnail {
    int code = 1000; // none came
    std::string origin;
    std::string preset;
    std::vector<Bitmap> images;
    int bufferSize = 0;
    int depth = 0;
    int whole = 0;
    bool hadPreset = false;
};

struct Wish {
    std::string path;
    int mediaType = 0;
    int sourceType = 0;
    int orientation = 0;
    int width = 256;
    int height = 256;
    int usedCache = 0;
    int frames = 1;
};

// A client of the thumbnail service for one test, on its thread. It begins and ends
// with the object; what was not answered until then is given up.
class Thumbnails {
  public:
    Thumbnails();
    ~Thumbnails();
    Thumbnails(const Thumbnails &) = delete;
    Thumbnails &operator=(const Thumbnails &) = delete;

    // Asks, and gives the request's number, from 0.
    std::size_t ask(const Wish &wish);
    int cancel(std::size_t number);
    int cancelLike(const Wish &wish);

    // Asks and waits for the answer.
    Thumbnail get(const Wish &wish);
    Thumbnail get(const std::string &path) { return get(Wish{.path = path}); }

    // Waits until all requests but the cancelled ones are answered; false: they are not.
    bool waitForAll();
    Thumbnail answerTo(std::size_t number);
    int answersTo(std::size_t number);
    bool wasCancelled(std::size_t number);

    // Called in the callback, before the images are freed.
    std::function<void(std::size_t number, thumb_result_s &result)> onResult;

  private:
    struct Asked {
        Thumbnails *client;
        std::size_t number;
        Wish wish;
        bool cancelled = false;
        int answers = 0;
        Thumbnail answer;
    };

    static int hear(int code, thumb_result_s *result, void *data);
    _thumb_request recordOf(const Wish &wish, Asked *asked);

    std::mutex lock_;
    std::condition_variable arrived_;
    std::vector<std::unique_ptr<Asked>> asked_;
};

// The peak signal-to-noise ratio of two pictures in decibels, over colours as they
// look on black; -1 when their sizes differ.
double psnr(const Bitmap &one, const Bitmap &other);

// What ImageMagick makes of a file at this very size.
Bitmap scaledByImageMagick(const std::string &path, int width, int height);

} // namespace support
