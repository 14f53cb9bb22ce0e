#pragma once

#include "sink.h"

namespace systemlog {

/// Writes "tag: text" and a line feed to a file descriptor, standard error
/// unless told otherwise. The descriptor is borrowed. Any thread may write.
class StderrSink final : public Sink {
  public:
    explicit StderrSink(int descriptor = 2) : descriptor_(descriptor) {}
    void write(int priority, const char *tag, std::string_view text) noexcept override;

  private:
    int descriptor_;
};

} // namespace systemlog
