#include "recorder.h"

#include <deque>
#include <set>
#include <utility>

#include "blocks.h"
#include "function.h"

namespace recording {

namespace {

std::atomic<bool> recording_on{true};

// Everything below is guarded by recorderMutex().
struct Book {
    std::map<std::string, Function *> functions;
    std::map<std::pair<std::string, const void *>, size_t> names;
    std::map<std::string, size_t> name_counts;
    std::deque<_mrb_storage_s> devices;
    std::set<std::string> texts;
};

// Made on first use, because functions register themselves while the library loads,
// and never destroyed, because framework threads may outlive main.
Book &book() {
    static auto *only = new Book;
    return *only;
}

} // namespace

bool isRecording() { return recording_on.load(std::memory_order_relaxed); }
void setRecording(bool on) { recording_on.store(on, std::memory_order_relaxed); }

std::mutex &recorderMutex() {
    static auto *only = new std::mutex;
    return *only;
}

const std::map<std::string, Function *> &functions() { return book().functions; }
void registerFunction(Function *function) { book().functions.emplace(function->name(), function); }

void clear() {
    for (const auto &[name, function] : functions()) {
        function->reset();
    }
    forgetBlocks();
    forgetCalls();
    const std::lock_guard<std::mutex> lock(recorderMutex());
    book().names.clear();
    book().name_counts.clear();
}

Value nameOf(const char *kind, const void *pointer) {
    if (pointer == nullptr) {
        return nullptr;
    }
    const auto [entry, is_new] = book().names.try_emplace({kind, pointer}, 0);
    if (is_new) {
        entry->second = ++book().name_counts[kind];
    }
    return kind + std::to_string(entry->second);
}

int64_t addDevice(std::map<std::string, Value> values) {
    const std::lock_guard<std::mutex> lock(recorderMutex());
    auto &devices = book().devices;
    const auto number = static_cast<int64_t>(devices.size()) + 1;
    devices.push_back({number, std::move(values)});
    return number;
}

_mrb_storage_s *deviceOf(int64_t number) {
    const std::lock_guard<std::mutex> lock(recorderMutex());
    auto &devices = book().devices;
    if (number < 1 || number > static_cast<int64_t>(devices.size())) {
        return nullptr;
    }
    return &devices[static_cast<size_t>(number - 1)];
}

const Value *deviceValue(const _mrb_storage_s *device, const char *getter) {
    if (device == nullptr) {
        return nullptr;
    }
    const auto found = device->values.find(getter);
    return found == device->values.end() ? nullptr : &found->second;
}

const char *keepText(const std::string &text) {
    const std::lock_guard<std::mutex> lock(recorderMutex());
    return book().texts.insert(text).first->c_str();
}

} // namespace recording
