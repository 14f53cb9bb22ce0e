// List events by the thousand, from several threads at once.
//
//   startBulk({threads, perThread, agent, event, registration})
//       starts and returns at once; thread t fires the server data "t:0", "t:1", ...
//   joinBulk()
//       waits until all threads have ended

#include <thread>

#include "callbacks.h"
#include "exports.h"
#include "script_values.h"

namespace recording::addon {

namespace {

// The threads of the running bulk. Main thread only; never destroyed, because a
// script may end the process while they run.
std::vector<std::thread> &threads() {
    static auto *only = new std::vector<std::thread>;
    return *only;
}

napi_value startBulk(napi_env env, napi_callback_info info) {
    const Options options(env, argumentsOf<1>(env, info)[0],
                          {"threads", "perThread", "agent", "event", "registration"});
    if (!threads().empty()) {
        throw Misuse("a bulk is running; joinBulk() first");
    }
    if (registrations("list") == 0) {
        throw Misuse("nothing is registered for list events");
    }
    const Target target{options.integer("registration", -1), false};
    ListEvent event;
    event.agent = static_cast<int>(options.integer("agent"));
    event.event = static_cast<int>(options.integer("event"));
    const int64_t per_thread = options.integer("perThread");
    for (int64_t t = 0; t < options.integer("threads"); ++t) {
        threads().emplace_back([=]() mutable {
            for (int64_t i = 0; i < per_thread; ++i) {
                event.server_data = std::to_string(t) + ':' + std::to_string(i);
                fireList(target, event);
            }
        });
    }
    return nullptr;
}

napi_value joinBulk(napi_env /*env*/, napi_callback_info /*info*/) {
    for (std::thread &thread : threads()) {
        thread.join();
    }
    threads().clear();
    return nullptr;
}

} // namespace

void addBulk(napi_env env, napi_value exports) {
    addFunction(env, exports, "startBulk", guarded<startBulk>);
    addFunction(env, exports, "joinBulk", guarded<joinBulk>);
}

} // namespace recording::addon
