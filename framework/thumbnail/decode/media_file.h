#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/descriptor.h"
#include "thumbnail/decoding.h"

namespace mrb::thumbnail {

using Bytes = std::vector<unsigned char>;

// An open media file. Owned by the decoding of one request, used by its thread.
// It is read, never mapped: a stick that is pulled out must be an error, not a
// signal.
class MediaFile {
  public:
    // Opens what `path` names unless it is something else than a file.
    Outcome open(const std::string &path);

    [[nodiscard]] const FileIdentity &identity() const { return identity_; }
    [[nodiscard]] int number() const { return file_.number(); }

    // Appends the file's bytes to `bytes` until it holds the first `count` of them, or all.
    Outcome read(std::int64_t count, const StopSign &stop, Bytes &bytes) const;

    // The whole file, unless it is larger than pictures are.
    Outcome readAll(const StopSign &stop, Bytes &bytes) const;

  private:
    Descriptor file_;
    FileIdentity identity_;
};

} // namespace mrb::thumbnail
