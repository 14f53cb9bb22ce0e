#include "quill/script_function.h"

#include <array>
#include <utility>
#include <vector>

#include "host.h"
#include "owners.h"

namespace Bridge {

/// What a ScriptFunction and its copies share. Owned by them together.
struct ScriptFunction::Kept {
    v8::Global<v8::Value> value;
    FunctionOwner *owner; ///< null: kept on no object's behalf
    int references;
};

ScriptFunction::ScriptFunction(const ScriptObject &value) {
    if (value.getValue().IsEmpty()) {
        return;
    }
    // Only functions are a reason for the program to go on.
    FunctionOwner *owner = value.isFunction() ? Owners::instance().active() : nullptr;
    kept_ = new Kept{v8::Global<v8::Value>(v8::Isolate::GetCurrent(), value.getValue()), owner, 1};
    Owners::instance().retain(owner);
}

ScriptFunction::ScriptFunction(const ScriptFunction &other) noexcept : kept_(other.kept_) {
    if (kept_ != nullptr) {
        ++kept_->references;
    }
}

ScriptFunction::ScriptFunction(ScriptFunction &&other) noexcept
    : kept_(std::exchange(other.kept_, nullptr)) {}

ScriptFunction &ScriptFunction::operator=(ScriptFunction other) noexcept {
    std::swap(kept_, other.kept_);
    return *this;
}

ScriptFunction::~ScriptFunction() {
    if (kept_ != nullptr && --kept_->references == 0) {
        Owners::instance().release(kept_->owner);
        delete kept_;
    }
}

bool ScriptFunction::isFunction() const {
    const v8::Local<v8::Value> value = getValue();
    return !value.IsEmpty() && value->IsFunction();
}

v8::Local<v8::Value> ScriptFunction::getValue() const {
    return kept_ == nullptr ? v8::Local<v8::Value>() : kept_->value.Get(v8::Isolate::GetCurrent());
}

ScriptObject ScriptFunction::invoke(const ScriptArray &arguments) const {
    Host *host = Host::current();
    const v8::Local<v8::Value> value = getValue();
    if (host == nullptr || value.IsEmpty() || !value->IsFunction()) {
        return {};
    }
    const int count = arguments.length();
    std::array<v8::Local<v8::Value>, 4> few; // most callbacks take one argument
    std::vector<v8::Local<v8::Value>> many(
        static_cast<size_t>(count) <= few.size() ? 0 : static_cast<size_t>(count));
    v8::Local<v8::Value> *values = many.empty() ? few.data() : many.data();
    for (int index = 0; index < count; ++index) {
        values[index] = arguments.get(index).getValue();
    }
    v8::Local<v8::Value> result;
    if (!host->call(value.As<v8::Function>(), count, values).ToLocal(&result)) {
        return {};
    }
    return ScriptObject(result);
}

} // namespace Bridge
