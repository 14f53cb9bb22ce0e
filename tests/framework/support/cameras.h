#pragma once

#include <string>

#include "support/client.h"
#include "support/folder.h"

namespace support {

// A folder that is offered as a camera to this process's framework, plugged in with the object.
// One at a time of each number; used by one test thread.
class OfferedCamera {
  public:
    static constexpr int MOST = 2;

    // `number`: from 1 to MOST.
    explicit OfferedCamera(int number = 1);
    ~OfferedCamera();
    OfferedCamera(const OfferedCamera &) = delete;
    OfferedCamera &operator=(const OfferedCamera &) = delete;

    // Pulls it out, and plugs it in again.
    void unplug();
    void plug();

    [[nodiscard]] std::string name() const;
    [[nodiscard]] std::string id() const; // its storage id
    [[nodiscard]] int address() const { return number_; }

    // The options for a list of the folder `id` on it.
    [[nodiscard]] ListOptions listOptions(const std::string &folderId = {}) const;

    const Folder folder; // what is on it

  private:
    const int number_;
};

} // namespace support
