#pragma once

#include <mutex>
#include <string>
#include <unordered_set>

namespace mrb {

// The items that a share has locked, by their media ids, whichever list shows them.
// In memory: locks end with the process. Owned by the Framework; any thread may call it.
class LockedItems {
  public:
    void set(const std::string &mediaId, bool locked) {
        const std::lock_guard guard(lock_);
        if (locked) {
            ids_.insert(mediaId);
        } else {
            ids_.erase(mediaId);
        }
    }

    [[nodiscard]] bool contains(const std::string &mediaId) const {
        const std::lock_guard guard(lock_);
        return ids_.contains(mediaId);
    }

  private:
    mutable std::mutex lock_; // guards what follows
    std::unordered_set<std::string> ids_;
};

} // namespace mrb
