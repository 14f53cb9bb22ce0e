#pragma once
// What libquill.so.1 needs from the program it lives in.

#include <memory>

#include <v8.h>

#include "quill/export.h"

namespace Bridge {

/// The asynchronous context of the code that kept a function, as the host represents
/// it; calls of the function run in it. Shared by the function's ScriptFunctions, which
/// own it together; main thread only.
class QUILL_API AsyncContext {
  public:
    AsyncContext() = default;
    AsyncContext(const AsyncContext &) = delete;
    AsyncContext &operator=(const AsyncContext &) = delete;
    virtual ~AsyncContext();
};

/// The program around the bridges. Owned by the code that installs it; it must outlive
/// every ScriptFunction. Main thread only.
class QUILL_API Host {
  public:
    Host() = default;
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;
    virtual ~Host();

    /// The current asynchronous context, for a function that is being kept.
    virtual std::unique_ptr<AsyncContext> currentContext() = 0;

    /// Calls a script function from the main loop in the context that
    /// currentContext() returned for it, runs what it queued (microtasks and ticks),
    /// and reports what the function itself threw. Empty when it threw.
    virtual v8::MaybeLocal<v8::Value> call(AsyncContext &context, v8::Local<v8::Function> function, int count,
                                           const v8::Local<v8::Value> *arguments) = 0;

    /// Sets whether kept functions keep the program running.
    virtual void keepAlive(bool alive) = 0;

    /// The installed host; null before install().
    static Host *current() noexcept;
    static void install(Host *host) noexcept;
};

} // namespace Bridge
