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

// A picture in memory: blue, green, red and alpha, a byte each.
struct Bitmap {
    int width = 0;
    int height = 0;
    std::string pixels;
    long long timeStamp = 0;
};

// A result, with its buffers copied and freed.
struct Thumbnail {
    int code = 1000; // no result yet
    std::string origin;
    std::string preset;
    std::vector<Bitmap> images;
    int bufferSize = 0;
    int depth = 0;
    int whole = 0;
    bool hadPreset = false;
};

struct ThumbnailOptions {
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
// with the object, which drops the requests that are still pending.
class Thumbnails {
  public:
    Thumbnails();
    ~Thumbnails();
    Thumbnails(const Thumbnails &) = delete;
    Thumbnails &operator=(const Thumbnails &) = delete;

    // Returns the request's number, from 0.
    std::size_t request(const ThumbnailOptions &options);
    int cancel(std::size_t number);
    int cancelLike(const ThumbnailOptions &options);

    // Requests and waits for the result.
    Thumbnail get(const ThumbnailOptions &options);
    Thumbnail get(const std::string &path) { return get(ThumbnailOptions{.path = path}); }

    // Waits until all requests but the cancelled ones have their results; false: timeout.
    bool waitForAll();
    Thumbnail resultOf(std::size_t number);
    int resultCount(std::size_t number);
    bool wasCancelled(std::size_t number);

    // Called in the callback, before the images are freed.
    std::function<void(std::size_t number, thumb_result_s &result)> onResult;

  private:
    struct PendingRequest {
        Thumbnails *client;
        std::size_t number;
        ThumbnailOptions options;
        bool cancelled = false;
        int results = 0;
        Thumbnail last;
    };

    static int receive(int code, thumb_result_s *result, void *data);
    _thumb_request recordOf(const ThumbnailOptions &options, PendingRequest *request);

    std::mutex lock_;
    std::condition_variable arrived_;
    std::vector<std::unique_ptr<PendingRequest>> requests_;
};

// The peak signal-to-noise ratio of two pictures in decibels, over colours as they
// look on black; -1 when their sizes differ.
double psnr(const Bitmap &one, const Bitmap &other);

// The picture that ImageMagick makes of a file at this very size.
Bitmap scaledByImageMagick(const std::string &path, int width, int height);

} // namespace support
