#pragma once
// The functions that the addon exports to scripts, by subject.

#include <node_api.h>

namespace recording::addon {

/// Adds the function `name`, which is called with the script's arguments.
void addFunction(napi_env env, napi_value exports, const char *name, napi_callback function);

void addControls(napi_env env, napi_value exports); // replies, trace, blocks, log lines, devices
void addFire(napi_env env, napi_value exports);     // callbacks, one at a time
void addBulk(napi_env env, napi_value exports);     // list events by the thousand
void addStorm(napi_env env, napi_value exports);    // device events as fast as possible

} // namespace recording::addon
