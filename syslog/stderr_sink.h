#pragma once

#include "sink.h"

namespace systemlog {

/// Writes "tag: text" and a line feed to a file descriptor, standard error
/// unless another is given. The descriptor is borrowed. Any thread may write.
class StderrSink final : public Sink {
  public:
    explicit StderrSink(int descriptor = 2);
    void write(int priority, const char *tag, std::string_view text) noexcept override;

    /// On a terminal, unless NO_COLOR turns them off: https://no-color.org
    [[nodiscard]] bool showsColours() const noexcept override { return colours_; }

  private:
    int descriptor_;
    bool colours_;
};

} // namespace systemlog
