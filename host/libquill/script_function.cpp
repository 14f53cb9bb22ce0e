#include "quill/script_function.h"

#include <memory>
#include <utility>
#include <vector>

#include "host.h"
#include "owners.h"

namespace Bridge {

/// The state that a ScriptFunction and its copies share and own together.
struct ScriptFunction::Kept {
    v8::Isolate *isolate;
    v8::Global<v8::Value> value;
    bool is_function;
    FunctionOwner *owner;                  ///< null: the function belongs to no object
    std::unique_ptr<AsyncContext> context; ///< null: no function, or no host
    int references;
};

ScriptFunction::ScriptFunction(const ScriptObject &value) {
    if (value.getValue().IsEmpty()) {
        return;
    }
    // Only functions keep the program running, and are called.
    const bool is_function = value.isFunction();
    FunctionOwner *owner = is_function ? Owners::instance().active() : nullptr;
    Host *host = is_function ? Host::current() : nullptr;
    v8::Isolate *isolate = v8::Isolate::GetCurrent();
    kept_ = new Kept{isolate, v8::Global<v8::Value>(isolate, value.getValue()),   is_function,
                     owner,   host == nullptr ? nullptr : host->currentContext(), 1};
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

bool ScriptFunction::isFunction() const { return kept_ != nullptr && kept_->is_function; }

v8::Local<v8::Value> ScriptFunction::getValue() const {
    return kept_ == nullptr ? v8::Local<v8::Value>() : kept_->value.Get(kept_->isolate);
}

ScriptObject ScriptFunction::invoke(const ScriptArray &arguments) const {
    Host *host = Host::current();
    if (host == nullptr || !isFunction() || kept_->context == nullptr) {
        return {};
    }
    const int count = arguments.length();
    const v8::Local<v8::Value> *values = arguments.values();
    std::vector<v8::Local<v8::Value>> copied; // of a view
    if (values == nullptr) {
        copied.reserve(static_cast<size_t>(count));
        for (int index = 0; index < count; ++index) {
            copied.push_back(arguments.get(index).getValue());
        }
        values = copied.data();
    }
    v8::Local<v8::Value> result;
    if (!host->call(*kept_->context, getValue().As<v8::Function>(), count, values).ToLocal(&result)) {
        return {};
    }
    return ScriptObject(result);
}

} // namespace Bridge
