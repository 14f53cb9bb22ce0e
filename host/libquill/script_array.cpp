#include "quill/script_array.h"

namespace Bridge {

int ScriptArray::length() const {
    return arguments_ != nullptr ? arguments_->length() : static_cast<int>(values_.size());
}

ScriptObject ScriptArray::get(int index) const {
    if (arguments_ != nullptr) {
        return ScriptObject(arguments_->at(index));
    }
    if (index < 0 || index >= length()) {
        return ScriptObject::Undefined();
    }
    return ScriptObject(values_[static_cast<size_t>(index)]);
}

void ScriptArray::set(int index, const ScriptObject &value) {
    if (arguments_ != nullptr || index < 0) {
        return;
    }
    const auto position = static_cast<size_t>(index);
    if (position >= values_.size()) {
        values_.resize(position + 1, ScriptObject::Undefined().getValue());
    }
    if (!value.getValue().IsEmpty()) {
        values_[position] = value.getValue();
    }
}

} // namespace Bridge
