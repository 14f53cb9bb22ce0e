#include "intercepted_calls.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include <dlfcn.h>

#include "engine_fixture.h"

namespace {

/// The definition of a function in the library `library`, which this module's own
/// definition intercepts.
template <typename Function>
Function *definitionIn(const char *library, const char *symbol) {
    void *const opened = dlopen(library, RTLD_LAZY);
    auto *const found = opened == nullptr ? nullptr : dlsym(opened, symbol);
    if (found == nullptr) {
        std::abort();
    }
    return reinterpret_cast<Function *>(found);
}

thread_local QueuedFunctions *queue = nullptr;
DestroyedFunctions *destroyed = nullptr;
std::atomic<size_t> failing_size{0};

} // namespace

// ---- the main loop ----------------------------------------------------------------

extern "C" __attribute__((visibility("default"))) guint
clutter_threads_add_idle_full(gint priority, GSourceFunc function, gpointer data, GDestroyNotify notify) {
    static auto *const add = definitionIn<guint(gint, GSourceFunc, gpointer, GDestroyNotify)>(
        "libclutter-1.0.so.0", "clutter_threads_add_idle_full");
    if (queue != nullptr) {
        queue->all.push_back({priority, function, data, notify});
    }
    return add(priority, function, data, notify);
}

QueuedFunctions::QueuedFunctions() { queue = this; }
QueuedFunctions::~QueuedFunctions() { queue = nullptr; }

// ---- kept functions ---------------------------------------------------------------

__attribute__((visibility("default"))) Bridge::ScriptFunction::~ScriptFunction() {
    static auto *const destroy =
        definitionIn<void(ScriptFunction *)>("libquill.so.1", "_ZN6Bridge14ScriptFunctionD1Ev");
    if (destroyed != nullptr && isFunction()) {
        if (destroyed->names.empty()) {
            destroyed->events_before = recording::events().size();
        }
        destroyed->names.push_back(
            Bridge::StringFromV8(getValue().As<v8::Function>()->GetName().As<v8::String>()));
    }
    destroy(this);
}

DestroyedFunctions::DestroyedFunctions() { destroyed = this; }
DestroyedFunctions::~DestroyedFunctions() { destroyed = nullptr; }

// ---- memory -----------------------------------------------------------------------

// The linker makes the objects of this module call __wrap_X for X: see CMakeLists.txt.
extern "C" void *allocateBlock(size_t size) __asm__("__real_" OPERATOR_NEW);
extern "C" void *allocateOrFail(size_t size) __asm__("__wrap_" OPERATOR_NEW);
extern "C" void *allocateOrFail(size_t size) {
    if (size == failing_size.load(std::memory_order_relaxed)) {
        throw std::bad_alloc();
    }
    return allocateBlock(size);
}

FailingAllocation::FailingAllocation(size_t size) { failing_size = size; }
FailingAllocation::~FailingAllocation() { failing_size = 0; }
