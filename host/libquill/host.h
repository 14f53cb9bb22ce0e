#pragma once
// What libquill.so.1 needs from the program it lives in.

#include <v8.h>

#include "quill/export.h"

namespace Bridge {

/// The program around the bridges. Owned by whoever installs it; it must outlive
/// every ScriptFunction. Main thread only.
class QUILL_API Host {
  public:
    Host() = default;
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;
    virtual ~Host();

    /// Calls a script function from the main loop, microtasks included, and
    /// reports what it throws. Empty when it threw.
    virtual v8::MaybeLocal<v8::Value> call(v8::Local<v8::Function> function, int count,
                                           const v8::Local<v8::Value> *arguments) = 0;

    /// Whether kept functions are a reason for the program to go on.
    virtual void keepAlive(bool alive) = 0;

    /// The installed host; null before install().
    static Host *current() noexcept;
    static void install(Host *host) noexcept;
};

} // namespace Bridge
