// Setting replies and reading the trace.
//
//   functions()              the names of all recorded functions
//   setDefault(name, reply)  the reply to every call, until clear()
//   queue(name, reply)       the reply to one call; queued ones come first
//   device(values)           adds a device, values by getter name; returns its number
//   trace()                  [[name, ...arguments], ...]
//   events()                 calls, log lines and what callbacks returned, in one order:
//                            [{thread, call} or {thread, line} or {thread, returned}, ...]
//                            with call as in trace(), line as in logs(), and returned
//                            [kind of registration, value]; `thread` is the kernel's id
//   blocks()                 [{allocatedBy, released}, ...]
//   allocatedBytes()         what the whole process has allocated and not released
//   clear()                  forgets trace, replies and blocks
//   logs(), clearLogs()      [{logId, priority, tag, text, thread}, ...]
//   echoLogs(descriptor)     also writes each line there, -1 stops that
//   setRecording(on)         everything off, for benchmarks
//   setLogRecording(on)      only the log: as without a sink
//
// A reply is {result, out, throws}: `result` defaults to the function's initial one; an
// absent `out` writes a new handle if the function does so initially and succeeds, and
// writes nothing otherwise; null writes a null text. A text that is not UTF-8 is passed
// as a Buffer. `throws` true: the call throws a C++ exception.

#include <utility>

#include "blocks.h"
#include "exports.h"
#include "function.h"
#include "log_lines.h"
#include "memory.h"
#include "recorder.h"
#include "script_values.h"

namespace recording::addon {

namespace {

Function &functionOf(const std::string &name) {
    const auto found = functions().find(name);
    if (found == functions().end()) {
        throw Misuse("there is no function " + name);
    }
    return *found->second;
}

Reply replyFrom(napi_env env, napi_value value, const Function &function) {
    const Options options(env, value, {"result", "out", "throws"});
    Reply reply = function.initial();
    if (const auto result = options.value("result")) {
        if (recording::asInteger(*result) != recording::asInteger(reply.result)) {
            reply.out = Untouched{};
        }
        reply.result = *result;
    }
    if (const auto out = options.value("out")) {
        reply.out = *out;
    }
    reply.throws = options.boolean("throws");
    return reply;
}

template <void (Function::*Set)(Reply)>
napi_value steer(napi_env env, napi_callback_info info) {
    const auto arguments = argumentsOf<2>(env, info);
    Function &function = functionOf(asText(env, arguments[0]));
    (function.*Set)(replyFrom(env, arguments[1], function));
    return nullptr;
}

napi_value functionNames(napi_env env, napi_callback_info /*info*/) {
    napi_value result = array(env);
    for (const auto &[name, function] : functions()) {
        append(env, result, text(env, name));
    }
    return result;
}

napi_value makeDevice(napi_env env, napi_callback_info info) {
    auto values = members(env, argumentsOf<1>(env, info)[0]);
    for (const auto &[name, value] : values) {
        functionOf(name);
    }
    return number(env, addDevice(std::move(values)));
}

napi_value fromCall(napi_env env, const Call &call) {
    napi_value entry = array(env);
    append(env, entry, text(env, call.function));
    for (const Value &argument : call.arguments) {
        append(env, entry, fromValue(env, argument));
    }
    return entry;
}

napi_value fromLine(napi_env env, const LogLine &line, int thread) {
    napi_value entry = object(env);
    put(env, entry, "logId", number(env, line.log_id));
    put(env, entry, "priority", number(env, line.priority));
    put(env, entry, "tag", text(env, line.tag));
    put(env, entry, "text", text(env, line.text));
    put(env, entry, "thread", number(env, thread));
    return entry;
}

napi_value fromReturned(napi_env env, const Returned &returned) {
    napi_value entry = array(env);
    append(env, entry, text(env, returned.callback));
    append(env, entry, fromValue(env, returned.value));
    return entry;
}

napi_value readEvents(napi_env env, napi_callback_info /*info*/) {
    napi_value result = array(env);
    for (const Event &event : events()) {
        napi_value entry = object(env);
        put(env, entry, "thread", number(env, event.thread));
        if (const auto *call = std::get_if<Call>(&event.what)) {
            put(env, entry, "call", fromCall(env, *call));
        } else if (const auto *line = std::get_if<LogLine>(&event.what)) {
            put(env, entry, "line", fromLine(env, *line, event.thread));
        } else {
            put(env, entry, "returned", fromReturned(env, std::get<Returned>(event.what)));
        }
        append(env, result, entry);
    }
    return result;
}

napi_value readTrace(napi_env env, napi_callback_info /*info*/) {
    napi_value result = array(env);
    for (const Call &call : trace()) {
        append(env, result, fromCall(env, call));
    }
    return result;
}

napi_value readBlocks(napi_env env, napi_callback_info /*info*/) {
    napi_value result = array(env);
    for (const Block &block : blocks()) {
        napi_value entry = object(env);
        put(env, entry, "allocatedBy", text(env, block.allocated_by));
        put(env, entry, "released", flag(env, block.released));
        append(env, result, entry);
    }
    return result;
}

napi_value readAllocatedBytes(napi_env env, napi_callback_info /*info*/) {
    return number(env, static_cast<int64_t>(allocatedBytes()));
}

napi_value clearAll(napi_env /*env*/, napi_callback_info /*info*/) {
    clear();
    return nullptr;
}

napi_value readLogs(napi_env env, napi_callback_info /*info*/) {
    napi_value result = array(env);
    for (const Event &event : events()) {
        if (const auto *line = std::get_if<LogLine>(&event.what)) {
            append(env, result, fromLine(env, *line, event.thread));
        }
    }
    return result;
}

napi_value clearLogs(napi_env /*env*/, napi_callback_info /*info*/) {
    clearLogLines();
    return nullptr;
}

napi_value echoLogs(napi_env env, napi_callback_info info) {
    echoLogLines(static_cast<int>(asInteger(env, argumentsOf<1>(env, info)[0])));
    return nullptr;
}

napi_value switchRecording(napi_env env, napi_callback_info info) {
    const bool on = asFlag(env, argumentsOf<1>(env, info)[0]);
    setRecording(on);
    setLogRecording(on);
    return nullptr;
}

napi_value switchLogRecording(napi_env env, napi_callback_info info) {
    setLogRecording(asFlag(env, argumentsOf<1>(env, info)[0]));
    return nullptr;
}

} // namespace

void addControls(napi_env env, napi_value exports) {
    addFunction(env, exports, "functions", guarded<functionNames>);
    addFunction(env, exports, "setDefault", guarded<steer<&Function::setDefault>>);
    addFunction(env, exports, "queue", guarded<steer<&Function::queue>>);
    addFunction(env, exports, "device", guarded<makeDevice>);
    addFunction(env, exports, "events", guarded<readEvents>);
    addFunction(env, exports, "trace", guarded<readTrace>);
    addFunction(env, exports, "blocks", guarded<readBlocks>);
    addFunction(env, exports, "allocatedBytes", guarded<readAllocatedBytes>);
    addFunction(env, exports, "clear", guarded<clearAll>);
    addFunction(env, exports, "logs", guarded<readLogs>);
    addFunction(env, exports, "clearLogs", guarded<clearLogs>);
    addFunction(env, exports, "echoLogs", guarded<echoLogs>);
    addFunction(env, exports, "setRecording", guarded<switchRecording>);
    addFunction(env, exports, "setLogRecording", guarded<switchLogRecording>);
}

} // namespace recording::addon
