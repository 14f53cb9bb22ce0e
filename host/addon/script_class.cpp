#include "script_class.h"

#include <memory>
#include <unordered_map>

#include "owners.h"
#include "quill/strings.h"

namespace {

using Bridge::ScriptBridge;

/// One live script object. The handle keeps it from the garbage collector: a
/// native part may hold what cannot be torn down at a moment of V8's choosing,
/// so only an explicit release destroys it.
struct Instance {
    v8::Global<v8::Object> object;
    ScriptBridge *bridge = nullptr;
};

/// Every live script object by its native part. Never destroyed: no instance is
/// destroyed at exit. Main thread only.
std::unordered_map<void *, Instance> &instances() {
    static auto *all = new std::unordered_map<void *, Instance>;
    return *all;
}

void throwError(v8::Isolate *isolate, const std::string &text,
                v8::Local<v8::Value> (*make)(v8::Local<v8::String>)) {
    isolate->ThrowException(make(Bridge::StringToV8(text)));
}

v8::Local<v8::Value> makeTypeError(v8::Local<v8::String> text) { return v8::Exception::TypeError(text); }
v8::Local<v8::Value> makeError(v8::Local<v8::String> text) { return v8::Exception::Error(text); }

void construct(const v8::FunctionCallbackInfo<v8::Value> &info) {
    v8::Isolate *isolate = info.GetIsolate();
    auto *bridge = static_cast<ScriptBridge *>(info.Data().As<v8::External>()->Value());
    const std::string name = bridge->getScriptClassName();
    if (!info.IsConstructCall()) {
        throwError(isolate, "Class constructor " + name + " cannot be invoked without 'new'", makeTypeError);
        return;
    }
    try {
        const Bridge::V8Arguments<v8::Value> arguments(info);
        void *native = bridge->constructFromScript(Bridge::ScriptArray(arguments));
        info.This()->SetInternalField(0, v8::External::New(isolate, native));
        if (native != nullptr) {
            instances()[native] = Instance{v8::Global<v8::Object>(isolate, info.This()), bridge};
        }
    } catch (const std::exception &error) {
        throwError(isolate, "cannot construct " + name + ": " + error.what(), makeError);
    }
}

/// The native part in a value's internal field: null when it was cleared.
/// False when the value is not an object of a script class.
bool nativeOf(v8::Local<v8::Value> value, void *&native) {
    if (!value->IsObject() || value.As<v8::Object>()->InternalFieldCount() != 1) {
        return false;
    }
    const v8::Local<v8::Value> field = value.As<v8::Object>()->GetInternalField(0).As<v8::Value>();
    native = field->IsExternal() ? field.As<v8::External>()->Value() : nullptr;
    return native == nullptr ? field->IsUndefined() : instances().count(native) != 0;
}

} // namespace

v8::MaybeLocal<v8::Function> makeScriptClass(v8::Isolate *isolate, v8::Local<v8::Context> context,
                                             ScriptBridge *bridge) {
    v8::EscapableHandleScope scope(isolate);
    const v8::Local<v8::FunctionTemplate> class_template =
        v8::FunctionTemplate::New(isolate, construct, v8::External::New(isolate, bridge));
    class_template->SetClassName(Bridge::StringToV8(bridge->getScriptClassName()));
    class_template->InstanceTemplate()->SetInternalFieldCount(1);

    // On the prototype, so that all objects of the class share one set of methods.
    Bridge::ScriptContext script_context(class_template->PrototypeTemplate());
    bridge->mapScriptInterface(script_context);

    v8::Local<v8::Function> constructor;
    if (!class_template->GetFunction(context).ToLocal(&constructor)) {
        return {};
    }
    bridge->bridgeTo(context->Global());
    bridge->contextReady();
    return scope.Escape(constructor);
}

Release releaseObject(v8::Isolate *isolate, v8::Local<v8::Value> value) {
    void *native = nullptr;
    if (!nativeOf(value, native)) {
        return Release::NotOurs;
    }
    if (native == nullptr) {
        return Release::AlreadyReleased;
    }
    // The field is cleared first: a script that the teardown calls finds a destroyed object.
    value.As<v8::Object>()->SetInternalField(0, v8::Undefined(isolate));
    ScriptBridge *bridge = instances()[native].bridge;
    instances().erase(native);
    bridge->destroyFromScript(native);
    Bridge::Owners::instance().forget(native);
    return Release::Done;
}

Release setObjectReferenced(v8::Isolate * /*isolate*/, v8::Local<v8::Value> value, bool referenced) {
    void *native = nullptr;
    if (!nativeOf(value, native)) {
        return Release::NotOurs;
    }
    if (native == nullptr) {
        return Release::AlreadyReleased;
    }
    Bridge::Owners::instance().setReferenced(native, referenced);
    return Release::Done;
}
