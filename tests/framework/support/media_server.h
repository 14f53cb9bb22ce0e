#pragma once

#include <sys/types.h>

#include <string>

#include "support/folder.h"

namespace support {

// A DLNA server of another project's, serving the files of a folder on the loopback
// interface, under the name that it was given.
class MediaServer {
  public:
    enum class Kind { MINIDLNA, RYGEL };

    MediaServer(Kind kind, const std::string &name, const std::string &mediaFolder);
    ~MediaServer() { stop(); }
    MediaServer(const MediaServer &) = delete;
    MediaServer &operator=(const MediaServer &) = delete;

    // Has it end in an orderly way: it says goodbye.
    void stop();
    // Without a word.
    void kill();

  private:
    void await();

    const Folder state_; // its configuration and whatever it writes
    pid_t process_ = -1;
};

} // namespace support
