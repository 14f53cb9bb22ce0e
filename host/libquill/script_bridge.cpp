#include "quill/script_bridge.h"

#include "owners.h"

namespace Bridge {

ActiveObject::ActiveObject(void *native) noexcept : previous_(Owners::instance().activeNative()) {
    Owners::instance().setActiveNative(native);
}

ActiveObject::~ActiveObject() { Owners::instance().setActiveNative(previous_); }

ScriptBridge::~ScriptBridge() = default;

void ScriptBridge::bridgeTo(v8::Local<v8::ObjectTemplate> /*global*/) {}

void ScriptBridge::bridgeTo(v8::Local<v8::Object> /*global*/) {}

void ScriptBridge::contextReady() {}

} // namespace Bridge
