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
    // Ends it; when the current test has failed, prints what the server wrote.
    ~MediaServer();
    MediaServer(const MediaServer &) = delete;
    MediaServer &operator=(const MediaServer &) = delete;

    // Waits until minidlna has scanned its folder; a test failure at the timeout. As the
    // scan ends it creates an index, and the first query after that fails ("SQL logic
    // error"): a thumbnail requested at that moment is answered with 404.
    static void waitUntilScanned();

    // Ends it in an orderly way: it sends byebye messages.
    void stop();
    // Kills it, without any message.
    void kill();

  private:
    void await();
    // The last lines of its output and of its log file.
    [[nodiscard]] std::string written() const;

    const Folder state_; // its configuration and whatever it writes
    pid_t process_ = -1;
};

} // namespace support
