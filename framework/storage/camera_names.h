#pragma once

#include <memory>
#include <string>
#include <vector>

#include "camera/camera_library.h"

namespace mrb {

// Finds out how cameras are called, on threads that end with the answer: the library
// that knows is loaded with the first camera. Owned by Cameras; one thread at a time.
class CameraNames {
  public:
    struct Answer {
        std::string key;
        CameraAddress address;
        std::string name; // never empty
    };

    CameraNames();

    // Becomes readable when there are answers; -1 when there will be none.
    [[nodiscard]] int number() const;

    // `name` is for the log. What the library does not know has no answer.
    void ask(const std::string &key, const CameraAddress &address, const std::string &name);

    // Those that came since the last call.
    std::vector<Answer> answers();

  private:
    struct Mailbox;
    static void look(Mailbox &mailbox, const std::string &key, const CameraAddress &address,
                     const std::string &name);

    const std::shared_ptr<Mailbox> mailbox_; // shared with those that still look
};

} // namespace mrb
