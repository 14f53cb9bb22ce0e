// The Node.js addon behind the `quill` command: what host/js builds on.

#include <node.h>
#include <uv.h>

#include <exception>
#include <string>

#include "bridge_library.h"
#include "main_loop.h"
#include "node_host.h"
#include "quill/strings.h"
#include "script_class.h"

namespace {

using Arguments = v8::FunctionCallbackInfo<v8::Value>;

void throwTypeError(v8::Isolate *isolate, const std::string &text) {
    isolate->ThrowException(v8::Exception::TypeError(Bridge::StringToV8(text)));
}

/// A function for scripts, whose C++ exceptions become script errors: they must not cross V8's frames.
template <void (*FUNCTION)(const Arguments &)>
void scriptFunction(const Arguments &arguments) noexcept {
    try {
        FUNCTION(arguments);
    } catch (const std::exception &error) {
        arguments.GetIsolate()->ThrowException(v8::Exception::Error(Bridge::StringToV8(error.what())));
    }
}

/// openBridge(path): {classes: {name: constructor}} or {error: text}.
void openBridge(const Arguments &arguments) {
    v8::Isolate *isolate = arguments.GetIsolate();
    const v8::Local<v8::Context> context = isolate->GetCurrentContext();
    const auto set = [&](v8::Local<v8::Object> object, const std::string &key, v8::Local<v8::Value> value) {
        return object->Set(context, Bridge::StringToV8(key), value).FromMaybe(false);
    };
    const v8::Local<v8::Object> answer = v8::Object::New(isolate);
    arguments.GetReturnValue().Set(answer);

    const BridgeLibrary library = openBridgeLibrary(Bridge::ScriptObject(arguments[0]).asString());
    if (!library.error.empty()) {
        set(answer, "error", Bridge::StringToV8(library.error));
        return;
    }
    const v8::Local<v8::Object> classes = v8::Object::New(isolate);
    set(answer, "classes", classes);
    for (Bridge::ScriptBridge *bridge : library.bridges) {
        try {
            v8::Local<v8::Function> constructor;
            if (!makeScriptClass(isolate, context, bridge).ToLocal(&constructor) ||
                !set(classes, bridge->getScriptClassName(), constructor)) {
                return; // a script error is pending
            }
        } catch (const std::exception &error) {
            set(answer, "error", Bridge::StringToV8(std::string("its script class failed: ") + error.what()));
            return;
        }
    }
}

const char *const not_ours = ": the argument must be an object made by a script class, such as MRBBridge";

void release(const Arguments &arguments) {
    if (releaseObject(arguments.GetIsolate(), arguments[0]) == Release::NotOurs) {
        throwTypeError(arguments.GetIsolate(), std::string("quill.release") + not_ours);
    }
}

template <bool Referenced>
void setReferenced(const Arguments &arguments) {
    if (setObjectReferenced(arguments.GetIsolate(), arguments[0], Referenced) == Release::NotOurs) {
        throwTypeError(arguments.GetIsolate(),
                       std::string(Referenced ? "quill.ref" : "quill.unref") + not_ours);
    }
}

} // namespace

// Node.js loads the addon on the main thread only (host/js ensures it), once.
// The loop and the host are never destroyed: libuv and kept functions refer to
// them until the process ends.
NODE_MODULE_INIT(/* exports, module, context */) {
    v8::Isolate *isolate = context->GetIsolate();
    auto *loop = new MainLoop(node::GetCurrentEventLoop(isolate));
    if (!loop->start()) {
        isolate->ThrowException(
            v8::Exception::Error(Bridge::StringToV8("another thread runs GLib's main context")));
        return;
    }
    auto *host = new NodeHost(isolate, context, *loop);
    Bridge::Host::install(host);
    node::AddEnvironmentCleanupHook(
        isolate, [](void *stopped) noexcept { static_cast<MainLoop *>(stopped)->stop(); }, loop);

    NODE_SET_METHOD(exports, "openBridge", scriptFunction<openBridge>);
    NODE_SET_METHOD(exports, "release", scriptFunction<release>);
    NODE_SET_METHOD(exports, "ref", scriptFunction<setReferenced<true>>);
    NODE_SET_METHOD(exports, "unref", scriptFunction<setReferenced<false>>);

    // setErrorReporter(function): it receives the errors of asynchronous callbacks.
    const auto set_reporter = [](const Arguments &arguments) noexcept {
        auto *node_host = static_cast<NodeHost *>(Bridge::Host::current());
        if (arguments[0]->IsFunction()) {
            node_host->setErrorReporter(arguments[0].As<v8::Function>());
        }
    };
    NODE_SET_METHOD(exports, "setErrorReporter", set_reporter);
    (void)module;
}
