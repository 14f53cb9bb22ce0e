#pragma once
// Which script object a kept function belongs to, and whether it keeps the program
// running.

#include <memory>
#include <unordered_map>

#include "quill/export.h"

namespace Bridge {

/// The functions kept on behalf of one script object. Owned by Owners.
struct FunctionOwner {
    void *native = nullptr; ///< the object's native part; null once that is destroyed
    int functions = 0;
    bool referenced = true; ///< whether the functions keep the program alive

    bool keepsAlive() const noexcept { return referenced && functions > 0; }
};

/// All script objects that had functions kept. One per process and never
/// destroyed, since functions may be released until the process ends. Main thread only.
class QUILL_API Owners {
  public:
    static Owners &instance();

    /// Which native part a method call runs for; null outside of calls.
    void *activeNative() const noexcept { return active_native_; }
    void setActiveNative(void *native) noexcept { active_native_ = native; }

    /// The owner on whose behalf native code runs now; null outside of calls.
    FunctionOwner *active();

    /// Counts a function that is kept for an owner, or released. A null owner is ignored.
    void retain(FunctionOwner *owner) noexcept;
    void release(FunctionOwner *owner) noexcept;

    /// Sets whether an object's functions keep the program alive (they do at first).
    void setReferenced(void *native, bool referenced);

    /// The native part was destroyed; another one may get its address.
    void forget(void *native) noexcept;

  private:
    FunctionOwner *ownerOf(void *native);
    void discard(FunctionOwner *owner) noexcept;

    /// Runs `change` on the owner, and notifies the host if that changed whether any
    /// function keeps the program alive.
    template <typename Change>
    void apply(FunctionOwner &owner, Change change);

    void *active_native_ = nullptr;
    int keeping_alive_ = 0; ///< owners whose functions keep the program alive
    std::unordered_map<void *, FunctionOwner *> by_native_;
};

} // namespace Bridge
