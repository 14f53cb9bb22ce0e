// A script class without a media framework, for tests of the engine: it echoes,
// throws, and calls back from GLib's main context and other threads.

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <glib.h>
#include <unistd.h>

#include "quill/bridge.h"

namespace {

using Bridge::ScriptArray;
using Bridge::ScriptFunction;
using Bridge::ScriptObject;

/// The native part of an Echo object.
struct Echo {
    ScriptFunction function = ScriptObject::Null();
};

int live_objects = 0;

void callFunction(Echo *echo, const std::string &text) {
    const v8::HandleScope scope(v8::Isolate::GetCurrent());
    ScriptArray arguments;
    arguments.set(0, ScriptObject(text));
    const ScriptFunction function = echo->function;
    static_cast<void>(function.invoke(arguments));
}

// echo(value): the text of a string, "" for anything else.
ScriptObject echoText(Echo * /*echo*/, const ScriptArray &arguments) {
    return ScriptObject(arguments.get(0).asString());
}

// count(...): the number of arguments, as a text.
ScriptObject count(Echo * /*echo*/, const ScriptArray &arguments) {
    return ScriptObject(std::to_string(arguments.length()));
}

ScriptObject nothing(Echo * /*echo*/, const ScriptArray & /*arguments*/) { return {}; }

ScriptObject fail(Echo * /*echo*/, const ScriptArray & /*arguments*/) {
    throw Bridge::QuillJsRuntimeException("refused by the echo");
}

// on(function): keeps the function; on(anything else) releases it.
ScriptObject on(Echo *echo, const ScriptArray &arguments) {
    echo->function =
        arguments.get(0).isFunction() ? arguments.get(0).asFunction() : ScriptFunction(ScriptObject::Null());
    return {};
}

// fire(text): calls the function from GLib's main context.
ScriptObject fire(Echo *echo, const ScriptArray &arguments) {
    struct Call {
        Echo *echo;
        std::string text;
    };
    auto *call = new Call{echo, arguments.get(0).asString()};
    g_idle_add(
        [](void *data) -> gboolean {
            const std::unique_ptr<Call> owned(static_cast<Call *>(data));
            callFunction(owned->echo, owned->text);
            return G_SOURCE_REMOVE;
        },
        call);
    return {};
}

// fireFromThread(text): the same, queued by another thread a little later.
ScriptObject fireFromThread(Echo *echo, const ScriptArray &arguments) {
    std::thread([echo, text = arguments.get(0).asString()] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        g_idle_add(
            [](void *data) -> gboolean {
                callFunction(static_cast<Echo *>(data), "from a thread");
                return G_SOURCE_REMOVE;
            },
            echo);
    }).detach();
    return {};
}

// fireAfter(milliseconds as a text): calls the function from a GLib timer.
ScriptObject fireAfter(Echo *echo, const ScriptArray &arguments) {
    g_timeout_add(
        static_cast<unsigned>(std::stoul(arguments.get(0).asString())),
        [](void *data) -> gboolean {
            callFunction(static_cast<Echo *>(data), "from a timer");
            return G_SOURCE_REMOVE;
        },
        echo);
    return {};
}

// fireFromPipe(): calls the function when a byte arrives in a pipe.
ScriptObject fireFromPipe(Echo *echo, const ScriptArray & /*arguments*/) {
    int ends[2]; // NOLINT(*-avoid-c-arrays): what pipe() fills
    if (pipe(ends) != 0) {
        throw Bridge::QuillJsRuntimeException("no pipe");
    }
    GIOChannel *channel = g_io_channel_unix_new(ends[0]);
    g_io_channel_set_close_on_unref(channel, TRUE);
    g_io_add_watch(
        channel, G_IO_IN,
        [](GIOChannel *source, GIOCondition, void *data) -> gboolean {
            char byte = 0;
            const bool read_one = read(g_io_channel_unix_get_fd(source), &byte, 1) == 1;
            callFunction(static_cast<Echo *>(data), read_one ? "from a pipe" : "nothing came");
            return G_SOURCE_REMOVE;
        },
        echo);
    g_io_channel_unref(channel);
    std::thread([to = ends[1]] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const bool written = write(to, "x", 1) == 1;
        static_cast<void>(written);
        close(to);
    }).detach();
    return {};
}

ScriptObject live(Echo * /*echo*/, const ScriptArray & /*arguments*/) {
    return ScriptObject(std::to_string(live_objects));
}

class EchoBridge final : public Bridge::ScriptBridge {
  public:
    const char *getScriptClassName() const override { return "Echo"; }

    void mapScriptInterface(Bridge::ScriptContext &context) override {
        set<&echoText>(context, "echo");
        set<&count>(context, "count");
        set<&nothing>(context, "nothing");
        set<&fail>(context, "fail");
        set<&on>(context, "on");
        set<&fire>(context, "fire");
        set<&fireFromThread>(context, "fireFromThread");
        set<&fireAfter>(context, "fireAfter");
        set<&fireFromPipe>(context, "fireFromPipe");
        set<&live>(context, "live");
    }

    void *constructFromScript(const ScriptArray &arguments) override {
        if (arguments.get(0).asString() == "throw") {
            throw std::runtime_error("the argument is \"throw\"");
        }
        ++live_objects;
        return new Echo;
    }

    void destroyFromScript(void *native) override {
        --live_objects;
        delete static_cast<Echo *>(native);
    }

  private:
    template <ScriptObject (*Handler)(Echo *, const ScriptArray &)>
    static void set(Bridge::ScriptContext &context, const char *name) {
        context.getTemplate()->Set(
            Bridge::StringToV8(name),
            v8::FunctionTemplate::New(v8::Isolate::GetCurrent(), &functionCallRouter<Echo, Handler, Echo>));
    }
};

} // namespace

extern "C" __attribute__((visibility("default"))) std::vector<Bridge::ScriptBridge *> loadBridges();
std::vector<Bridge::ScriptBridge *> loadBridges() {
    static std::vector<Bridge::ScriptBridge *> bridges;
    bridges.push_back(new EchoBridge);
    return bridges;
}
