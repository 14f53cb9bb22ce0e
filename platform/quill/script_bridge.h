#pragma once
/*
 * A script class that a shared library brings to the host engine.
 *
 * A bridge library exports
 *
 *     extern "C" std::vector<Bridge::ScriptBridge *> loadBridges();
 *
 * The host calls it once after opening the library. For each bridge it reads
 * the class name, creates a constructor whose instances have one internal field,
 * lets the bridge set its methods (mapScriptInterface), and announces the script
 * context (bridgeTo, contextReady). Constructing the class in a script calls
 * constructFromScript, and the pointer it returns goes into the internal field,
 * as a v8::External; releasing the script object calls destroyFromScript and
 * clears the field. The library stays open, and its bridges alive, until the
 * process ends.
 *
 * Everything here runs on the host's main thread, which owns the V8 isolate.
 */

#include <memory>

#include <v8.h>

#include "quill/arguments.h"
#include "quill/exception.h"
#include "quill/export.h"
#include "quill/script_array.h"
#include "quill/script_context.h"
#include "quill/script_object.h"
#include "quill/strings.h"

namespace Bridge {

/// Sets, for as long as it exists, the script object that native code runs for:
/// functions kept in this time belong to that object.
class QUILL_API ActiveObject {
  public:
    explicit ActiveObject(void *native) noexcept;
    ActiveObject(const ActiveObject &) = delete;
    ActiveObject &operator=(const ActiveObject &) = delete;
    ~ActiveObject();

  private:
    void *previous_;
};

/// Base of all bridges. Owned by the library that created it.
class QUILL_API ScriptBridge {
  public:
    ScriptBridge() = default;
    ScriptBridge(const ScriptBridge &) = delete;
    ScriptBridge &operator=(const ScriptBridge &) = delete;
    virtual ~ScriptBridge();

    /// Called before a script context is created, with the template of its global
    /// object (a host whose context exists already skips it), and with the global
    /// object of an existing context. Both do nothing here.
    virtual void bridgeTo(v8::Local<v8::ObjectTemplate> global);
    virtual void bridgeTo(v8::Local<v8::Object> global);

    /// Called when scripts can construct the class. Does nothing here.
    virtual void contextReady();

    /// The name under which scripts construct the class; a constant text.
    virtual const char *getScriptClassName() const = 0;

    /// Sets the class's methods on the context's template.
    virtual void mapScriptInterface(ScriptContext &context) = 0;

    /// Creates the native part of a new script object.
    virtual void *constructFromScript(const ScriptArray &arguments) = 0;

    /// Destroys a native part. A null pointer is ignored.
    virtual void destroyFromScript(void *native) = 0;

    /// The V8 callback of a script method that `Handler` serves. `FieldT` is the
    /// type of what the internal field points to, `NativeT` that of the handler's
    /// first argument.
    ///
    /// Throws script Errors for a receiver without native part; a handler's own
    /// QuillJsRuntimeException becomes a script Error with its text.
    template <typename NativeT, ScriptObject (*Handler)(NativeT *, const ScriptArray &), typename FieldT>
    static void functionCallRouter(const v8::FunctionCallbackInfo<v8::Value> &info);

  private:
    template <typename FieldT>
    static FieldT *nativeOf(const v8::FunctionCallbackInfo<v8::Value> &info);
};

/// The native part of the call's receiver. Throws where it has none.
template <typename FieldT>
FieldT *ScriptBridge::nativeOf(const v8::FunctionCallbackInfo<v8::Value> &info) {
    v8::Isolate *isolate = info.GetIsolate();
    const v8::HandleScope receiver_scope(isolate);
    const v8::Local<v8::Object> receiver = info.This();
    if (receiver->InternalFieldCount() < 1) {
        throw QuillJsRuntimeException("Cannot call native method without object instance");
    }

    // A cleared field holds undefined, and another native object's field may hold
    // anything: only what is an External is a pointer of ours.
    const v8::HandleScope field_scope(isolate);
    const v8::Local<v8::Value> field = receiver->GetInternalField(0).As<v8::Value>();
    void *native = field->IsExternal() ? field.As<v8::External>()->Value() : nullptr;
    if (native == nullptr) {
        throw QuillJsRuntimeException("Attempt to access destroyed JavaScript object.");
    }
    return static_cast<FieldT *>(native);
}

template <typename NativeT, ScriptObject (*Handler)(NativeT *, const ScriptArray &), typename FieldT>
void ScriptBridge::functionCallRouter(const v8::FunctionCallbackInfo<v8::Value> &info) {
    const auto arguments = std::make_unique<V8Arguments<v8::Value>>(info);
    const ScriptArray script_arguments(*arguments);
    try {
        NativeT *native = nativeOf<FieldT>(info);
        const ActiveObject active(native);
        const ScriptObject answer = Handler(native, script_arguments);
        if (!answer.getValue().IsEmpty()) {
            info.GetReturnValue().Set(answer.getValue());
        }
    } catch (const QuillJsRuntimeException &error) {
        v8::Isolate *isolate = info.GetIsolate();
        const v8::Local<v8::Value> script_error = v8::Exception::Error(StringToV8(error.what()));
        info.GetReturnValue().Set(isolate->ThrowException(script_error));
    }
}

} // namespace Bridge
