// Device events and service states as fast as threads can report them.
//
//   startStorm()   a thread each for USB events, DLNA events and service states
//                  calls whatever is registered at the moment; what was removed or
//                  replaced is not called any more. Best with setRecording(false).
//   stormEvent()   the number of the newest USB or DLNA event, which is its code
//   awaitStormEvents(count)   returns when so many more have begun
//   stopStorm()    ends the threads

#include <utility>

#include "exports.h"
#include "script_values.h"
#include "storm.h"

namespace recording::addon {

namespace {

bool running = false; // main thread only

napi_value startStormFromScript(napi_env /*env*/, napi_callback_info /*info*/) {
    if (std::exchange(running, true)) {
        throw Misuse("a storm is running; stopStorm() first");
    }
    startStorm();
    return nullptr;
}

napi_value stopStormFromScript(napi_env /*env*/, napi_callback_info /*info*/) {
    if (std::exchange(running, false)) {
        stopStorm();
    }
    return nullptr;
}

napi_value stormEventFromScript(napi_env env, napi_callback_info /*info*/) {
    return number(env, stormEvent());
}

napi_value awaitStormEventsFromScript(napi_env env, napi_callback_info info) {
    awaitStormEvents(static_cast<int>(asInteger(env, argumentsOf<1>(env, info)[0])));
    return nullptr;
}

} // namespace

void addStorm(napi_env env, napi_value exports) {
    addFunction(env, exports, "startStorm", guarded<startStormFromScript>);
    addFunction(env, exports, "stopStorm", guarded<stopStormFromScript>);
    addFunction(env, exports, "stormEvent", guarded<stormEventFromScript>);
    addFunction(env, exports, "awaitStormEvents", guarded<awaitStormEventsFromScript>);
}

} // namespace recording::addon
