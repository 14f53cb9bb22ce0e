// The floors of the benchmarks, as a Node.js addon:
//
//   answerCode(text)    parses a request, reads an int, returns an object of one key
//   answerData(text)    the same with three keys
//   answerList(text)    reads index, count and list, fetches those items from the
//                       framework, and returns their texts as a document inside the
//                       answer, without a JSON library: the same framework calls and text
//   selectAll(text)     selects all items of the types in the request, one by one, and
//                       returns the sum of their sizes: the same framework calls
//   startBulk(threads, perThread, function)
//                       each thread queues texts for a script function on the main
//                       loop, with clutter_threads_add_idle_full and no more
//   joinBulk()          waits until all threads have ended

#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <clutter/clutter.h>
#include <json/reader.h>
#include <json/writer.h>
#include <node.h>

#include "mrb/agent.h"

// The same classes as the bridge uses, so that only its own work is compared.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

using Info = v8::FunctionCallbackInfo<v8::Value>;

v8::Local<v8::String> toScript(v8::Isolate *isolate, const std::string &text) {
    return v8::String::NewFromUtf8(isolate, text.data(), v8::NewStringType::kNormal,
                                   static_cast<int>(text.size()))
        .ToLocalChecked();
}

/// Parses the text of the first argument; false: it is not JSON.
bool readRequest(const Info &info, Json::Value &request) {
    const v8::String::Utf8Value text(info.GetIsolate(), info[0]);
    Json::Reader reader;
    return reader.parse(std::string(*text, static_cast<size_t>(text.length())), request, true);
}

template <bool WithData>
void answer(const Info &info) {
    v8::Isolate *isolate = info.GetIsolate();
    Json::Value request;
    if (!readRequest(info, request)) {
        return;
    }
    const int agent = request["param_agent"].asInt();
    Json::Value response;
    response["return_ecode"] = 0;
    if (WithData) {
        response["return_type"] = 1;
        response["return_data"] = agent;
    }
    info.GetReturnValue().Set(toScript(isolate, Json::FastWriter().write(response)));
}

/// Appends a text as a JSON string. Enough for texts of ASCII.
void appendQuoted(std::string &to, const char *text, size_t length) {
    to += '"';
    for (const char *end = text + length; text != end; ++text) {
        if (*text == '"' || *text == '\\') {
            to += '\\';
            to += *text;
        } else if (*text == '\n') {
            to += "\\n";
        } else {
            to += *text;
        }
    }
    to += '"';
}

void answerList(const Info &info) {
    v8::Isolate *isolate = info.GetIsolate();
    Json::Value request;
    if (!readRequest(info, request)) {
        return;
    }
    const int index = request["param_index"].asInt();
    const int count = request["param_count"].asInt();
    const int agent = request["param_agent"].asInt();
    int total = 0;
    if (mrb_get_item_count_v2(agent, &total) != MRB_ERR_NONE) {
        return;
    }
    std::string inner = "{\"param_count\":" + std::to_string(count) +
                        ",\"param_index\":" + std::to_string(index) + ",\"param_item_list\":[";
    for (int position = index; position < index + count && position < total; ++position) {
        char *item = nullptr;
        if (mrb_get_item_v2(agent, position, &item) != MRB_ERR_NONE || item == nullptr) {
            return;
        }
        if (position != index) {
            inner += ',';
        }
        appendQuoted(inner, item, std::char_traits<char>::length(item));
        std::free(item); // NOLINT(*-no-malloc): the framework allocates its texts with malloc
    }
    inner += "]}\n";
    std::string outer = "{\"return_data\":";
    appendQuoted(outer, inner.data(), inner.size());
    outer += ",\"return_ecode\":0,\"return_type\":4}\n";
    info.GetReturnValue().Set(toScript(isolate, outer));
}

void selectAll(const Info &info) {
    v8::Isolate *isolate = info.GetIsolate();
    Json::Value request;
    if (!readRequest(info, request)) {
        return;
    }
    const int agent = request["param_agent"].asInt();
    std::set<int> types;
    for (const Json::Value &type : request["param_selected_item_type_arr"]) {
        types.insert(type.asInt());
    }
    int count = 0;
    if (mrb_deselect_all_v2(agent) != MRB_ERR_NONE || mrb_get_item_count_v2(agent, &count) != MRB_ERR_NONE) {
        return;
    }
    unsigned long long total = 0;
    for (int index = 0; index < count; ++index) {
        int type = -1;
        if (mrb_move_to_index_v2(agent, index) != MRB_ERR_NONE ||
            mrb_get_item_value_int_v2(agent, "MEDIA_TYPE", &type) != MRB_ERR_NONE) {
            return;
        }
        if (!types.contains(type)) {
            continue;
        }
        long long size = 0;
        if (mrb_toggle_select_v2(agent, index) != MRB_ERR_NONE ||
            mrb_get_item_value_lint_v2(agent, "SIZE", &size) != MRB_ERR_NONE) {
            return;
        }
        total += static_cast<unsigned long long>(size);
    }
    Json::Value response;
    response["return_ecode"] = 0;
    response["return_type"] = 1;
    response["return_data"] = Json::UInt64{total};
    info.GetReturnValue().Set(toScript(isolate, Json::FastWriter().write(response)));
}

/// A text on its way to the script function.
struct Record {
    v8::Isolate *isolate;
    v8::Global<v8::Function> *function;
    std::string text;
};

v8::Global<v8::Function> *listener = nullptr; // leaked: V8 ends before it would be destroyed
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
    NODE_SET_METHOD(exports, "answerList", answerList);
    NODE_SET_METHOD(exports, "selectAll", selectAll);
    NODE_SET_METHOD(exports, "startBulk", startBulk);
    NODE_SET_METHOD(exports, "joinBulk", joinBulk);
    (void)module;
    (void)context;
}
