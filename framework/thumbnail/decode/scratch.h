#pragma once

#include "thumbnail/media_file.h"

namespace mrb::thumbnail {

// Memory for the decoding of one picture, empty at first. Lives on the stack of the
// decoding thread, which keeps what is not too large for its next picture: asking the
// system for fresh pages takes as long as some of the work that is done in them.
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
