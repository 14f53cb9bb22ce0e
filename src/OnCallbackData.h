#pragma once
// One result on its way from a framework thread to a script function.

#include <string>

#include <glib.h>

#include "quill/script_function.h"

namespace MRBBridge {

/// Priority of deliveries on the main loop: that of a redraw, after high-idle work
/// and before default-idle work.
inline constexpr int DELIVERY_PRIORITY = G_PRIORITY_HIGH_IDLE + 50;

/// Runs `function` once on the main loop, after everything that was queued before.
/// Any thread.
void QueueOnMainLoop(GSourceFunc function, void *data);

/// A queued result. Made on any thread; owned by the main loop until it runs
/// FireOnCallbacks, which frees it.
class OnCallbackData {
  public:
    /// `slot` is where the provider keeps the function: the function that stands
    /// there at the time of delivery is the one that hears of the result.
    OnCallbackData(const Bridge::ScriptFunction *slot, std::string data);

    /// Calls the slot's function with the text, or without an argument when it is
    /// empty. Main thread; always FALSE, so that a record runs once.
    static gboolean FireOnCallbacks(void *record);

  private:
    void Deliver() const;

    const Bridge::ScriptFunction *slot_;
    std::string data_;
};

} // namespace MRBBridge
