#include "function.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "blocks.h"

namespace recording {

Function::Function(const char *name, Reply initial, Numbering numbering)
    : name_(name), initial_(std::move(initial)), numbering_(numbering), default_(initial_),
      handles_(numbering == Numbering::PerProcess ? 1000 : 0) {
    registerFunction(this);
}

void Function::setDefault(Reply reply) {
    const std::lock_guard<std::mutex> lock(recorderMutex());
    default_ = std::move(reply);
}

void Function::queue(Reply reply) {
    const std::lock_guard<std::mutex> lock(recorderMutex());
    queued_.push_back(std::move(reply));
}

void Function::reset() {
    const std::lock_guard<std::mutex> lock(recorderMutex());
    default_ = initial_;
    queued_.clear();
    if (numbering_ == Numbering::PerTrace) {
        handles_ = 0;
    }
}

int64_t Function::nextHandle() {
    if (!isRecording()) {
        return 1;
    }
    const std::lock_guard<std::mutex> lock(recorderMutex());
    return ++handles_;
}

Reply Function::record(std::vector<Value> arguments) {
    const std::lock_guard<std::mutex> lock(recorderMutex());
    addEvent(Call{name_, std::move(arguments)});
    Reply reply = default_;
    if (!queued_.empty()) {
        reply = std::move(queued_.front());
        queued_.pop_front();
    }
    if (reply.throws) {
        throw std::runtime_error(std::string(name_) + " throws");
    }
    return reply;
}

Value toValue(const char *text) {
    if (text == nullptr) {
        return nullptr;
    }
    return std::string(text);
}

Value toValue(UserData user_data) {
    const std::lock_guard<std::mutex> lock(recorderMutex());
    return nameOf("user", user_data.pointer);
}

Value toValue(Bytes bytes) {
    if (bytes.pointer == nullptr) {
        return nullptr;
    }
    return static_cast<int64_t>(blockNumber(bytes.pointer));
}

Value toValue(_mrb_storage_s *device) {
    if (device == nullptr) {
        return nullptr;
    }
    return device->number;
}

Value callbackValue(const void *callback) {
    const std::lock_guard<std::mutex> lock(recorderMutex());
    return nameOf("cb", callback);
}

int64_t asInteger(const Value &value) {
    if (const auto *number = std::get_if<int64_t>(&value)) {
        return *number;
    }
    if (const auto *real = std::get_if<double>(&value)) {
        return static_cast<int64_t>(*real);
    }
    const auto *flag = std::get_if<bool>(&value);
    return flag != nullptr && *flag ? 1 : 0;
}

double asReal(const Value &value) {
    const auto *real = std::get_if<double>(&value);
    return real != nullptr ? *real : static_cast<double>(asInteger(value));
}

const char *asText(const Value &value) {
    if (std::holds_alternative<std::nullptr_t>(value)) {
        return nullptr;
    }
    const auto *text = std::get_if<std::string>(&value);
    return text != nullptr ? keepText(*text) : "";
}

_mrb_storage_s *asDevice(const Value &value) { return deviceOf(asInteger(value)); }

void giveText(char **out, const Value &value, const Function &function) {
    const auto *text = std::get_if<std::string>(&value);
    if (text == nullptr) {
        *out = nullptr;
        return;
    }
    const size_t size = text->size() + 1;
    *out = static_cast<char *>(isRecording() ? newBlock(size, function.name()) : std::malloc(size));
    std::memcpy(*out, text->c_str(), size);
}

int64_t handleFrom(Function &function) { return function.nextHandle(); }

} // namespace recording
