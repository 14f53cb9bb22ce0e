// The floors of the benchmarks, as a Node.js addon:
//
//   answerCode(text)    parses a request, reads an int, answers one key
//   answerData(text)    the same with three keys
//   startBulk(threads, perThread, function)
//                       each thread queues texts for a script function on the main
//                       loop, with clutter_threads_add_idle_full and no more
//   joinBulk()          waits until all threads have ended

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <clutter/clutter.h>
#include <json/reader.h>
#include <json/writer.h>
#include <node.h>

// The same classes as the bridge uses: only they compare.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

using Info = v8::FunctionCallbackInfo<v8::Value>;

v8::Local<v8::String> toScript(v8::Isolate *isolate, const std::string &text) {
    return v8::String::NewFromUtf8(isolate, text.data(), v8::NewStringType::kNormal,
                                   static_cast<int>(text.size()))
        .ToLocalChecked();
}

template <bool WithData>
void answer(const Info &info) {
    v8::Isolate *isolate = info.GetIsolate();
    const v8::String::Utf8Value text(isolate, info[0]);
    Json::Value request;
    Json::Reader reader;
    if (!reader.parse(std::string(*text, static_cast<size_t>(text.length())), request, true)) {
        return;
    }
    const int agent = request["param_agent"].asInt();
    Json::Value answered;
    answered["return_ecode"] = 0;
    if (WithData) {
        answered["return_type"] = 1;
        answered["return_data"] = agent;
    }
    info.GetReturnValue().Set(toScript(isolate, Json::FastWriter().write(answered)));
}

/// A text on its way to the script function.
struct Record {
    v8::Isolate *isolate;
    v8::Global<v8::Function> *function;
    std::string text;
};

v8::Global<v8::Function> *listener = nullptr; // leaked: V8 is gone before it would be destroyed
std::vector<std::thread> *threads = new std::vector<std::thread>;

gboolean deliver(void *data) {
    const std::unique_ptr<Record> record(static_cast<Record *>(data));
    v8::Isolate *isolate = record->isolate;
    const v8::HandleScope scope(isolate);
    v8::Local<v8::Value> text = toScript(isolate, record->text);
    const v8::Local<v8::Function> function = record->function->Get(isolate);
    const v8::Local<v8::Object> receiver = isolate->GetCurrentContext()->Global();
    node::MakeCallback(isolate, receiver, function, 1, &text, {0, 0}).IsEmpty();
    return G_SOURCE_REMOVE;
}

void startBulk(const Info &info) {
    v8::Isolate *isolate = info.GetIsolate();
    const v8::Local<v8::Context> context = isolate->GetCurrentContext();
    const int count = info[0]->Int32Value(context).FromJust();
    const int per_thread = info[1]->Int32Value(context).FromJust();
    delete listener;
    listener = new v8::Global<v8::Function>(isolate, info[2].As<v8::Function>());
    for (int thread = 0; thread < count; ++thread) {
        threads->emplace_back([isolate, thread, per_thread] {
            for (int number = 0; number < per_thread; ++number) {
                std::string text = R"({"param_agent":1,"param_event":0,"param_server_data":")" +
                                   std::to_string(thread) + ':' + std::to_string(number) + "\"}\n";
                clutter_threads_add_idle_full(CLUTTER_PRIORITY_REDRAW, deliver,
                                              new Record{isolate, listener, std::move(text)}, nullptr);
            }
        });
    }
}

void joinBulk(const Info & /*info*/) {
    for (std::thread &thread : *threads) {
        thread.join();
    }
    threads->clear();
}

} // namespace

NODE_MODULE_INIT(/* exports, module, context */) {
    NODE_SET_METHOD(exports, "answerCode", answer<false>);
    NODE_SET_METHOD(exports, "answerData", answer<true>);
    NODE_SET_METHOD(exports, "startBulk", startBulk);
    NODE_SET_METHOD(exports, "joinBulk", joinBulk);
    (void)module;
    (void)context;
}
