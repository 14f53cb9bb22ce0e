// Firing callbacks, each on a thread of its own, as a framework does; a fire
// function returns to the script when the callback has returned. All take an
// options object; `registration` counts from 0, negative from the newest (the
// default), and `nullUserData` replaces the user data by a null pointer.
//
//   fireList({agent, event, reserved, serverData})    serverData null: a null text
//   fireShare({share, event, totalFileCount, doneFileCount, totalFileSize,
//              successFileSize, currentFileSize, progressFileSize, currentFileName})
//   fireUsb({event, device}), fireDlna({event, device})
//   fireDlnaState({state})
//   fireThumbnail({result, nullRecord, originPath, images, width, height, depth,
//                  imageCount, bufferSize, timeStamps, flagOriginImage, preset,
//                  presetText})                        returns the callback's result
//   registrations(kind)                                the number of registrations so far

#include <algorithm>
#include <thread>

#include "callbacks.h"
#include "exports.h"
#include "script_values.h"

namespace recording::addon {

namespace {

// Read before the thread starts: script values belong to the main thread.
Target targetFrom(const Options &options) {
    return {options.integer("registration", -1), options.boolean("nullUserData")};
}

std::vector<std::string> withTarget(std::vector<std::string> names) {
    names.insert(names.end(), {"registration", "nullUserData"});
    return names;
}

template <typename Fire>
void onAnotherThread(Fire fire) {
    bool fired = false;
    std::thread([&] { fired = fire(); }).join();
    if (!fired) {
        throw Misuse("nothing is registered under that number, or there is no such device");
    }
}

int asInt(int64_t value) { return static_cast<int>(value); }

napi_value fireListFromScript(napi_env env, napi_callback_info info) {
    const Options options(env, argumentsOf<1>(env, info)[0],
                          withTarget({"agent", "event", "reserved", "serverData"}));
    ListEvent event;
    event.agent = asInt(options.integer("agent"));
    event.event = asInt(options.integer("event"));
    event.reserved = asInt(options.integer("reserved"));
    const auto server_data = options.value("serverData").value_or(std::string());
    if (const auto *given = std::get_if<std::string>(&server_data)) {
        event.server_data = *given;
    }
    const Target target = targetFrom(options);
    onAnotherThread([&] { return fireList(target, event); });
    return nullptr;
}

napi_value fireShareFromScript(napi_env env, napi_callback_info info) {
    const Options options(
        env, argumentsOf<1>(env, info)[0],
        withTarget({"share", "event", "totalFileCount", "doneFileCount", "totalFileSize", "successFileSize",
                    "currentFileSize", "progressFileSize", "currentFileName"}));
    ShareEvent event;
    event.share = asInt(options.integer("share"));
    event.event = asInt(options.integer("event"));
    event.total_file_count = static_cast<uint32_t>(options.integer("totalFileCount"));
    event.done_file_count = static_cast<uint32_t>(options.integer("doneFileCount"));
    event.total_file_size = static_cast<uint64_t>(options.integer("totalFileSize"));
    event.success_file_size = static_cast<uint64_t>(options.integer("successFileSize"));
    event.current_file_size = static_cast<uint64_t>(options.integer("currentFileSize"));
    event.progress_file_size = static_cast<uint64_t>(options.integer("progressFileSize"));
    event.current_file_name = options.string("currentFileName");
    const Target target = targetFrom(options);
    onAnotherThread([&] { return fireShare(target, event); });
    return nullptr;
}

template <bool (*Fire)(const Target &, const DeviceEvent &)>
napi_value fireDeviceFromScript(napi_env env, napi_callback_info info) {
    const Options options(env, argumentsOf<1>(env, info)[0], withTarget({"event", "device"}));
    const DeviceEvent event{asInt(options.integer("event")), options.integer("device")};
    const Target target = targetFrom(options);
    onAnotherThread([&] { return Fire(target, event); });
    return nullptr;
}

napi_value fireDlnaStateFromScript(napi_env env, napi_callback_info info) {
    const Options options(env, argumentsOf<1>(env, info)[0], withTarget({"state"}));
    const int state = asInt(options.integer("state"));
    const Target target = targetFrom(options);
    onAnotherThread([&] { return fireDlnaState(target, state); });
    return nullptr;
}

napi_value fireThumbnailFromScript(napi_env env, napi_callback_info info) {
    const Options options(
        env, argumentsOf<1>(env, info)[0],
        withTarget({"result", "nullRecord", "originPath", "images", "width", "height", "depth", "imageCount",
                    "bufferSize", "timeStamps", "flagOriginImage", "preset", "presetText"}));
    ThumbnailResult result;
    result.result = asInt(options.integer("result"));
    result.null_record = options.boolean("nullRecord");
    result.origin_path = options.string("originPath");
    result.images = asInt(options.integer("images"));
    result.preset = options.boolean("preset");
    result.preset_text = options.string("presetText");
    result.width = asInt(options.integer("width"));
    result.height = asInt(options.integer("height"));
    result.depth = asInt(options.integer("depth", 32));
    result.image_count = asInt(options.integer("imageCount", result.images));
    result.flag_origin_image = asInt(options.integer("flagOriginImage"));
    result.image_bytes =
        static_cast<size_t>(std::max(result.width, 0)) * static_cast<size_t>(std::max(result.height, 0)) * 4;
    result.buffer_size = asInt(options.integer("bufferSize", static_cast<int64_t>(result.image_bytes)));
    const auto stamps = options.integers("timeStamps");
    for (size_t i = 0; i < stamps.size() && i < MRB_THUMB_IMAGES; ++i) {
        result.time_stamps[i] = stamps[i];
    }
    int answer = 0;
    const Target target = targetFrom(options);
    onAnotherThread([&] { return fireThumbnail(target, result, answer); });
    return number(env, answer);
}

napi_value countRegistrations(napi_env env, napi_callback_info info) {
    const std::string kind = asText(env, argumentsOf<1>(env, info)[0]);
    const int64_t count = registrations(kind);
    if (count < 0) {
        throw Misuse("unknown kind of registration: " + kind);
    }
    return number(env, count);
}

} // namespace

void addFire(napi_env env, napi_value exports) {
    addFunction(env, exports, "fireList", guarded<fireListFromScript>);
    addFunction(env, exports, "fireShare", guarded<fireShareFromScript>);
    addFunction(env, exports, "fireUsb", guarded<fireDeviceFromScript<fireUsb>>);
    addFunction(env, exports, "fireDlna", guarded<fireDeviceFromScript<fireDlna>>);
    addFunction(env, exports, "fireDlnaState", guarded<fireDlnaStateFromScript>);
    addFunction(env, exports, "fireThumbnail", guarded<fireThumbnailFromScript>);
    addFunction(env, exports, "registrations", guarded<countRegistrations>);
}

} // namespace recording::addon
