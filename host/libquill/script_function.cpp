#include "quill/script_function.h"

#include <utility>
#include <vector>

#include "host.h"
#include "owners.h"

namespace Bridge {

ScriptFunction::ScriptFunction() noexcept = default;

ScriptFunction::ScriptFunction(const ScriptObject &value) {
    value_.Reset(v8::Isolate::GetCurrent(), value.getValue());
    // Only functions are a reason for the program to go on.
    if (value.isFunction()) {
        owner_ = Owners::instance().active();
        Owners::instance().retain(owner_);
    }
}

ScriptFunction::ScriptFunction(const ScriptFunction &other)
    : value_(v8::Isolate::GetCurrent(), other.value_), owner_(other.owner_) {
    Owners::instance().retain(owner_);
}

ScriptFunction::ScriptFunction(ScriptFunction &&other) noexcept
    : value_(std::move(other.value_)), owner_(std::exchange(other.owner_, nullptr)) {}

ScriptFunction &ScriptFunction::operator=(const ScriptFunction &other) {
    if (this != &other) {
        *this = ScriptFunction(other);
    }
    return *this;
}

ScriptFunction &ScriptFunction::operator=(ScriptFunction &&other) noexcept {
    if (this != &other) {
        Owners::instance().release(std::exchange(owner_, std::exchange(other.owner_, nullptr)));
        value_ = std::move(other.value_);
    }
    return *this;
}

ScriptFunction::~ScriptFunction() { Owners::instance().release(owner_); }

bool ScriptFunction::isFunction() const {
    const v8::HandleScope scope(v8::Isolate::GetCurrent());
    const v8::Local<v8::Value> value = getValue();
    return !value.IsEmpty() && value->IsFunction();
}

v8::Local<v8::Value> ScriptFunction::getValue() const { return value_.Get(v8::Isolate::GetCurrent()); }

ScriptObject ScriptFunction::invoke(const ScriptArray &arguments) const {
    Host *host = Host::current();
    const v8::Local<v8::Value> value = getValue();
    if (host == nullptr || value.IsEmpty() || !value->IsFunction()) {
        return {};
    }
    const int count = arguments.length();
    std::vector<v8::Local<v8::Value>> values;
    values.reserve(static_cast<size_t>(count));
    for (int index = 0; index < count; ++index) {
        values.push_back(arguments.get(index).getValue());
    }
    v8::Local<v8::Value> result;
    if (!host->call(value.As<v8::Function>(), count, values.data()).ToLocal(&result)) {
        return {};
    }
    return ScriptObject(result);
}

} // namespace Bridge
