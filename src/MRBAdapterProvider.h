#pragma once
// The native part of a script object: its adapters, its script functions, the dispatch
// of a command's number to an adapter's operation, and the delivery of a result from a
// framework thread to a script function.

#include <array>
#include <cstddef>
#include <string>

#include <glib.h>

#include "quill/script_array.h"
#include "quill/script_function.h"
#include "quill/script_object.h"

namespace MRBBridge {

class CMRBAgentAdapter;
class CMRBThumbnailAdapter;
class CMRBStorageMgrAdapter;

/// Owned by its script object; main thread only, except for FireOnCallbacks.
///
/// Every operation returns a JSON text as a script string. A call that cannot be
/// dispatched is logged and returns {"return_ecode":2}; no operation throws.
class CMRBAdapterProvider {
  public:
    CMRBAdapterProvider();
    CMRBAdapterProvider(const CMRBAdapterProvider &) = delete;
    CMRBAdapterProvider &operator=(const CMRBAdapterProvider &) = delete;
    virtual ~CMRBAdapterProvider();

    /// Runs a command without arguments.
    Bridge::ScriptObject Execute(int func);

    /// Runs a command whose request is the string in argument 0.
    Bridge::ScriptObject Execute(int func, const Bridge::ScriptArray &arguments);

    /// Runs an asynchronous command: a function in argument 0, and for most of them
    /// a request string in argument 1. The function is kept even if the request is refused.
    Bridge::ScriptObject ExecuteWithCallback(int func, const Bridge::ScriptArray &arguments);

    /// Queues an adapter's result on the main loop. Any thread; `self` is the
    /// provider, of which only a slot's address is computed.
    static void FireOnCallbacks(int func, std::string data, void *self);

    /// Whether a slot belongs to a provider that still exists. Main thread.
    static bool IsLiveSlot(const Bridge::ScriptFunction *slot);

    /// Deleting frees the storage only after every result that was queued for this
    /// provider has run, so that no such result finds another provider at its address.
    static void *operator new(std::size_t size);
    static void operator delete(void *storage) noexcept;

  private:
    /// The functions of the six asynchronous commands, in the commands' order.
    using Slots = std::array<Bridge::ScriptFunction, 6>;

    struct Command;

    /// The command of a FunctionId; null when there is none. Any thread.
    static const Command *FindCommand(int func);

    /// The slot of a command; null when it has none. Any thread.
    Bridge::ScriptFunction *SlotOf(int func);

    CMRBAgentAdapter *agent_ = nullptr;
    CMRBThumbnailAdapter *thumbnail_ = nullptr;
    CMRBStorageMgrAdapter *storage_ = nullptr;
    Slots slots_;
};

/// A queued result. Created on any thread; owned by the main loop until it runs
/// FireOnCallbacks, which frees it.
class OnCallbackData {
  public:
    /// `slot` is where the provider keeps the function: the function that it holds at
    /// the time of delivery receives the result.
    OnCallbackData(const Bridge::ScriptFunction *slot, std::string data);

    /// Calls the slot's function with the text, or without an argument when it is
    /// empty. Main thread; always FALSE, so that a record runs once. An exception, for lack
    /// of memory, ends the process here: GLib's frames must not be unwound.
    static gboolean FireOnCallbacks(void *record) noexcept;

  private:
    void Deliver() const;

    const Bridge::ScriptFunction *slot_;
    std::string data_;
};

} // namespace MRBBridge
