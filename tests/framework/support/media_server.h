#pragma once

#include <sys/types.h>

#include <string>

#include "support/folder.h"

namespace support {

// A DLNA server of another project, serving the files of a folder on the loopback
// interface, under a given name.
class MediaServer {
  public:
    enum class Kind { MINIDLNA, RYGEL };

    MediaServer(Kind kind, const std::string &name, const std::string &mediaFolder);
    ~MediaServer() { stop(); }
    MediaServer(const MediaServer &) = delete;
    MediaServer &operator=(const MediaServer &) = delete;

    // Ends it in an orderly way: it sends byebye messages.
    void stop();
    // Kills it, without any message.
    void kill();

  private:
    void await();

    const Folder state_; // its configuration and whatever it writes
    pid_t process_ = -1;
};

} // namespace support
