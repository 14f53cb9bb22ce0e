// The addon's entry.

#include "exports.h"
#include "script_values.h"

namespace recording::addon {

void addFunction(napi_env env, napi_value exports, const char *name, napi_callback function) {
    napi_value value = nullptr;
    check(napi_create_function(env, name, NAPI_AUTO_LENGTH, function, nullptr, &value));
    put(env, exports, name, value);
}

} // namespace recording::addon

NAPI_MODULE_INIT() {
    using namespace recording::addon;
    addControls(env, exports);
    addFire(env, exports);
    addBulk(env, exports);
    addStorm(env, exports);
    return exports;
}
