#pragma once
// Calls from the main loop into scripts, as Node.js requires them to be made.

#include <memory>

#include <node.h>
#include <v8.h>

#include "host.h"
#include "main_loop.h"

/// The Host of a Node.js process. Owned by the addon, for as long as the program
/// runs; main thread only.
class NodeHost final : public Bridge::Host {
  public:
    NodeHost(v8::Isolate *isolate, v8::Local<v8::Context> context, MainLoop &loop);

    std::unique_ptr<Bridge::AsyncContext> currentContext() override;
    v8::MaybeLocal<v8::Value> call(Bridge::AsyncContext &context, v8::Local<v8::Function> function, int count,
                                   const v8::Local<v8::Value> *arguments) override;
    void keepAlive(bool alive) override { loop_.keepAlive(alive); }

    /// The script function that reports what a callback threw: (error, where). It
    /// returns false to leave the error to Node.js.
    void setErrorReporter(v8::Local<v8::Function> reporter) { reporter_.Reset(isolate_, reporter); }

  private:
    /// False while Node.js exits: its loop runs one more turn then, and results that
    /// are delivered in that turn reach no script.
    [[nodiscard]] bool canRunScripts() const;
    /// Passes the error to the reporter. False when it is left to Node.js.
    bool report(const v8::TryCatch &caught);

    v8::Isolate *isolate_;
    MainLoop &loop_;
    v8::Global<v8::Context> context_;
    node::Environment *environment_;
    v8::Global<v8::Function> no_op_; ///< a function that does nothing
    v8::Global<v8::Function> reporter_;
};
