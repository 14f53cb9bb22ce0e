#include "node_host.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include "quill/strings.h"

namespace {

/// Results come from outside of any chain of asynchronous calls.
constexpr node::async_context NO_ASYNC_CONTEXT = {0, 0};

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
    : isolate_(isolate), loop_(loop), context_(isolate, context), global_(isolate, context->Global()) {}

v8::MaybeLocal<v8::Value> NodeHost::call(v8::Local<v8::Function> function, int count,
                                         const v8::Local<v8::Value> *arguments) {
    const v8::TryCatch caught(isolate_);
    // Node.js runs the callbacks of process.nextTick and promises after the call.
    const v8::MaybeLocal<v8::Value> result =
        node::MakeCallback(isolate_, global_.Get(isolate_), function, count,
                           const_cast<v8::Local<v8::Value> *>(arguments), // read only, whatever its type says
                           NO_ASYNC_CONTEXT);
    if (!caught.HasCaught()) {
        return result;
    }
    if (!caught.HasTerminated()) {
        report(caught);
        // After a failed call it leaves them out: an empty one makes up for it.
        const node::CallbackScope make_up(isolate_, v8::Object::New(isolate_), NO_ASYNC_CONTEXT);
    }
    return {};
}

void NodeHost::report(const v8::TryCatch &caught) {
    const v8::Local<v8::Context> context = context_.Get(isolate_);
    const std::string place = describePlace(isolate_, context, caught.Message());
    std::array<v8::Local<v8::Value>, 2> arguments = {caught.Exception(), Bridge::StringToV8(place)};
    const v8::TryCatch reporter_caught(isolate_);
    v8::Local<v8::Value> ignored;
    if (!reporter_.Get(isolate_)
             ->Call(context, v8::Undefined(isolate_), static_cast<int>(arguments.size()), arguments.data())
             .ToLocal(&ignored)) {
        // An 'uncaughtException' listener that throws in its turn: nobody is left to tell.
        const v8::String::Utf8Value text(isolate_, reporter_caught.Exception());
        std::fprintf(stderr, "%s\nUncaught in the listener for uncaught errors: %s\n", place.c_str(),
                     *text != nullptr ? *text : "");
    }
}
