#pragma once
// Calls from the main loop into scripts, the way Node.js wants them made.

#include <node.h>
#include <v8.h>

#include "host.h"
#include "main_loop.h"

/// The Host of a Node.js process. Owned by the addon, for as long as the program
/// runs; main thread only.
class NodeHost final : public Bridge::Host {
  public:
    NodeHost(v8::Isolate *isolate, v8::Local<v8::Context> context, MainLoop &loop);

    v8::MaybeLocal<v8::Value> call(v8::Local<v8::Function> function, int count,
                                   const v8::Local<v8::Value> *arguments) override;
    void keepAlive(bool alive) override { loop_.keepAlive(alive); }

    /// The script function that reports what a callback threw: (error, where).
    void setErrorReporter(v8::Local<v8::Function> reporter) { reporter_.Reset(isolate_, reporter); }

  private:
    void report(const v8::TryCatch &caught);

    v8::Isolate *isolate_;
    MainLoop &loop_;
    v8::Global<v8::Context> context_;
    v8::Global<v8::Object> global_; ///< what callbacks see as `this`
    v8::Global<v8::Function> reporter_;
};
