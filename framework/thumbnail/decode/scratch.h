#pragma once

#include "thumbnail/media_file.h"

namespace mrb::thumbnail {

// A buffer for the decoding of one picture, empty at first. Lives on the stack of the decoding
// thread, which caches it for its next picture unless it is too large: allocating fresh pages
// takes as long as some of the work on them.
class Scratch {
  public:
    Scratch() noexcept;
    ~Scratch();
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;

    Bytes &operator*() { return bytes_; }

  private:
    Bytes bytes_;
};

} // namespace mrb::thumbnail
