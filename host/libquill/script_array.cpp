#include "quill/script_array.h"

namespace Bridge {

int ScriptArray::length() const { return arguments_ != nullptr ? arguments_->length() : length_; }

ScriptObject ScriptArray::get(int index) const {
    if (arguments_ != nullptr) {
        return ScriptObject(arguments_->at(index));
    }
    return index < 0 || index >= length_ ? ScriptObject::Undefined() : ScriptObject(values()[index]);
}

void ScriptArray::set(int index, const ScriptObject &value) {
    if (arguments_ != nullptr || index < 0) {
        return;
    }
    while (length_ < index) {
        append(ScriptObject::Undefined().getValue());
    }
    const v8::Local<v8::Value> element =
        value.getValue().IsEmpty() ? ScriptObject::Undefined().getValue() : value.getValue();
    if (index == length_) {
        append(element);
    } else {
        (many_.empty() ? few_.data() : many_.data())[index] = element;
    }
}

void ScriptArray::append(v8::Local<v8::Value> value) {
    const auto position = static_cast<size_t>(length_++);
    if (position < few_.size()) {
        few_[position] = value;
        return;
    }
    if (many_.empty()) {
        many_.assign(few_.begin(), few_.end());
    }
    many_.push_back(value);
}

const v8::Local<v8::Value> *ScriptArray::values() const {
    if (arguments_ != nullptr) {
        return nullptr;
    }
    return many_.empty() ? few_.data() : many_.data();
}

} // namespace Bridge
