#include "node_host.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include "quill/strings.h"

namespace {

// From Node.js 22 on the stores of AsyncLocalStorage may travel with V8 instead of
// with the resource.
#if V8_MAJOR_VERSION >= 12
v8::Local<v8::Value> contextFrame(v8::Isolate *isolate) {
    return isolate->GetContinuationPreservedEmbedderData();
}
void setContextFrame(v8::Isolate *isolate, v8::Local<v8::Value> frame) {
    isolate->SetContinuationPreservedEmbedderData(frame);
}
#else
v8::Local<v8::Value> contextFrame(v8::Isolate *isolate) { return v8::Undefined(isolate); }
void setContextFrame(v8::Isolate * /*isolate*/, v8::Local<v8::Value> /*frame*/) {}
#endif

/// Node.js's asynchronous context of a kept function: one resource for all of its
/// calls, created where it was kept, as those of timers and sockets are.
class FunctionContext final : public Bridge::AsyncContext {
  public:
    FunctionContext(v8::Isolate *isolate, node::Environment *environment)
        : FunctionContext(isolate, environment, v8::Object::New(isolate)) {}

    ~FunctionContext() override { node::EmitAsyncDestroy(environment_, ids_); }

    v8::Local<v8::Object> resource(v8::Isolate *isolate) const { return resource_.Get(isolate); }
    v8::Local<v8::Value> frame(v8::Isolate *isolate) const { return frame_.Get(isolate); }
    node::async_context ids() const { return ids_; }

  private:
    FunctionContext(v8::Isolate *isolate, node::Environment *environment, v8::Local<v8::Object> resource)
        : environment_(environment), resource_(isolate, resource), frame_(isolate, contextFrame(isolate)),
          ids_(node::EmitAsyncInit(isolate, resource, "QuillFunction")) {}

    node::Environment *environment_;
    v8::Global<v8::Object> resource_;
    v8::Global<v8::Value> frame_;
    node::async_context ids_;
};

/// Sets a context frame, inside a callback scope, for as long as this object exists.
class FrameScope {
  public:
    FrameScope(v8::Isolate *isolate, v8::Local<v8::Value> frame)
        : isolate_(isolate), previous_(contextFrame(isolate)) {
        setContextFrame(isolate, frame);
    }
    FrameScope(const FrameScope &) = delete;
    FrameScope &operator=(const FrameScope &) = delete;
    ~FrameScope() { setContextFrame(isolate_, previous_); }

  private:
    v8::Isolate *isolate_;
    v8::Local<v8::Value> previous_;
};

/// File, line and the source line with a mark below, as Node.js prints them.
std::string describePlace(v8::Isolate *isolate, v8::Local<v8::Context> context,
                          v8::Local<v8::Message> message) {
    if (message.IsEmpty()) {
        return {};
    }
    const v8::String::Utf8Value file(isolate, message->GetScriptOrigin().ResourceName());
    std::string place = std::string(*file != nullptr ? *file : "") + ":" +
                        std::to_string(message->GetLineNumber(context).FromMaybe(0));
    v8::Local<v8::String> source_line;
    if (message->GetSourceLine(context).ToLocal(&source_line)) {
        const auto start = static_cast<size_t>(std::max(0, message->GetStartColumn(context).FromMaybe(0)));
        place += "\n" + Bridge::StringFromV8(source_line) + "\n" + std::string(start, ' ') + "^";
    }
    return place;
}

} // namespace

NodeHost::NodeHost(v8::Isolate *isolate, v8::Local<v8::Context> context, MainLoop &loop)
    : isolate_(isolate), loop_(loop), context_(isolate, context),
      environment_(node::GetCurrentEnvironment(context)),
      no_op_(isolate, v8::Function::New(context, [](const v8::FunctionCallbackInfo<v8::Value> &) {
                      }).ToLocalChecked()) {}

std::unique_ptr<Bridge::AsyncContext> NodeHost::currentContext() {
    const v8::Context::Scope entered(context_.Get(isolate_));
    return std::make_unique<FunctionContext>(isolate_, environment_);
}

v8::MaybeLocal<v8::Value> NodeHost::call(Bridge::AsyncContext &kept_context, v8::Local<v8::Function> function,
                                         int count, const v8::Local<v8::Value> *arguments) {
    const auto &function_context = static_cast<FunctionContext &>(kept_context);
    const v8::Local<v8::Context> context = context_.Get(isolate_);
    const v8::Context::Scope entered(context);
    {
        // At its end Node.js runs the callbacks of process.nextTick and of promises, and
        // handles what they throw itself: no TryCatch may enclose it.
        const node::CallbackScope scope(environment_, function_context.resource(isolate_),
                                        function_context.ids());
        const FrameScope frame(isolate_, function_context.frame(isolate_));
        v8::TryCatch caught(isolate_);
        const v8::MaybeLocal<v8::Value> result = function->Call(
            context, context->Global(), count,
            const_cast<v8::Local<v8::Value> *>(arguments)); // read only, whatever its type says
        if (!caught.HasCaught()) {
            return result;
        }
        if (caught.HasTerminated() || !canRunScripts() || report(caught)) {
            return {};
        }
        node::FatalException(isolate_, caught);
        // It returns when the script handled the error, after Node.js discarded its state
        // of this call: the scope must see a failed call, for which it runs nothing.
        caught.ReThrow();
    }
    // After a failed call ticks and promises wait for the next one: an empty one follows.
    const node::CallbackScope empty(environment_, v8::Object::New(isolate_), {0, 0});
    return {};
}

bool NodeHost::canRunScripts() const {
    // Node.js has no query for it, but makes no callback then.
    return !node::MakeCallback(isolate_, v8::Object::New(isolate_), no_op_.Get(isolate_), 0, nullptr, {0, 0})
                .IsEmpty();
}

bool NodeHost::report(const v8::TryCatch &caught) {
    const v8::Local<v8::Context> context = context_.Get(isolate_);
    const std::string place = describePlace(isolate_, context, caught.Message());
    std::array<v8::Local<v8::Value>, 2> arguments = {caught.Exception(), Bridge::StringToV8(place)};
    const v8::TryCatch reporter_caught(isolate_);
    v8::Local<v8::Value> reported;
    if (!reporter_.Get(isolate_)
             ->Call(context, v8::Undefined(isolate_), static_cast<int>(arguments.size()), arguments.data())
             .ToLocal(&reported)) {
        // An 'uncaughtException' listener threw in its turn: nothing else handles that.
        const v8::String::Utf8Value text(isolate_, reporter_caught.Exception());
        std::fprintf(stderr, "%s\nUncaught in the listener for uncaught errors: %s\n", place.c_str(),
                     *text != nullptr ? *text : "");
        return true;
    }
    return !reported->IsFalse();
}
