#pragma once
// Which script object a kept function belongs to, and whether the program goes
// on for its sake.

#include <memory>
#include <unordered_map>

#include "quill/export.h"

namespace Bridge {

/// The functions kept on behalf of one script object. Owned by Owners.
struct FunctionOwner {
    void *native = nullptr; ///< the object's native part; null once that is gone
    int functions = 0;
    bool referenced = true; ///< whether the functions keep the program alive

    bool holdsProgram() const noexcept { return referenced && functions > 0; }
};

/// All script objects that had functions kept. One per process and never
/// destroyed, since functions may be let go until the very end. Main thread only.
class QUILL_API Owners {
  public:
    static Owners &instance();

    /// Which native part a method call runs for; null outside of calls.
    void *activeNative() const noexcept { return active_native_; }
    void setActiveNative(void *native) noexcept { active_native_ = native; }

    /// The owner on whose behalf native code runs now; null outside of calls.
    FunctionOwner *active();

    /// A function is kept for an owner, or let go. A null owner is ignored.
    void retain(FunctionOwner *owner) noexcept;
    void release(FunctionOwner *owner) noexcept;

    /// Says whether an object's functions keep the program alive (they do at first).
    void setReferenced(void *native, bool referenced);

    /// The native part is gone; another one may come to stand at its address.
    void forget(void *native) noexcept;

  private:
    FunctionOwner *ownerOf(void *native);
    void discard(FunctionOwner *owner) noexcept;

    /// Runs `change` on the owner and tells the host when the answer to "does any
    /// function keep the program alive" changed with it.
    template <typename Change>
    void apply(FunctionOwner &owner, Change change);

    void *active_native_ = nullptr;
    int holding_ = 0; ///< owners whose functions keep the program alive
    std::unordered_map<void *, FunctionOwner *> by_native_;
};

} // namespace Bridge
