// Runs GoogleTest inside a Node.js process.

#include "engine_fixture.h"

#include <variant>

#include <glib.h>
#include <node.h>

#include "host.h"

namespace {

v8::Isolate *test_isolate = nullptr;
v8::Global<v8::Context> *test_context = nullptr; // leaked: a global handle must not outlive V8

/// Calls functions directly; what they throw is dropped.
class TestHost final : public Bridge::Host {
  public:
    std::unique_ptr<Bridge::AsyncContext> currentContext() override {
        return std::make_unique<Bridge::AsyncContext>();
    }
    v8::MaybeLocal<v8::Value> call(Bridge::AsyncContext & /*context*/, v8::Local<v8::Function> function,
                                   int count, const v8::Local<v8::Value> *arguments) override {
        const v8::TryCatch caught(test_isolate);
        return function->Call(testContext(), v8::Undefined(test_isolate), count,
                              const_cast<v8::Local<v8::Value> *>(arguments)); // read only
    }
    void keepAlive(bool /*alive*/) override {}
};

void run(const v8::FunctionCallbackInfo<v8::Value> &info) {
    std::vector<std::string> words = {"unit_tests"};
    const auto options = info[0].As<v8::Array>();
    for (uint32_t index = 0; index < options->Length(); ++index) {
        words.push_back(Bridge::ScriptObject(options->Get(testContext(), index).ToLocalChecked()).asString());
    }
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string &word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    int count = static_cast<int>(words.size());
    testing::InitGoogleTest(&count, arguments.data());
    info.GetReturnValue().Set(RUN_ALL_TESTS());
}

} // namespace

v8::Isolate *testIsolate() { return test_isolate; }

v8::Local<v8::Context> testContext() { return test_context->Get(test_isolate); }

v8::Local<v8::Value> evaluate(const std::string &code) {
    return v8::Script::Compile(testContext(), Bridge::StringToV8(code))
        .ToLocalChecked()
        ->Run(testContext())
        .ToLocalChecked();
}

std::string textOf(const Bridge::ScriptObject &value) {
    EXPECT_TRUE(value.isString());
    return value.asString();
}

void drainMainLoop() {
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
}

ReceivedCalls::ReceivedCalls()
    : function_(evaluate("(() => { const calls = []; const note = (...all) => { calls.push(all); };"
                         " note.calls = calls; return note; })()")) {}

std::string ReceivedCalls::calls() const {
    const v8::Local<v8::Value> noted =
        function_.As<v8::Object>()->Get(testContext(), Bridge::StringToV8("calls")).ToLocalChecked();
    return Bridge::StringFromV8(v8::JSON::Stringify(testContext(), noted).ToLocalChecked());
}

std::vector<std::string> EngineTest::calls() {
    struct Text {
        std::string operator()(std::nullptr_t) const { return "null"; }
        std::string operator()(bool flag) const { return flag ? "true" : "false"; }
        std::string operator()(int64_t number) const { return std::to_string(number); }
        std::string operator()(double number) const { return std::to_string(number); }
        std::string operator()(const std::string &text) const { return '"' + text + '"'; }
    };
    std::vector<std::string> texts;
    for (const recording::Call &call : recording::trace()) {
        std::string arguments;
        for (const recording::Value &argument : call.arguments) {
            arguments += (arguments.empty() ? "" : ",") + std::visit(Text(), argument);
        }
        texts.push_back(std::string(call.function) + "(" + arguments + ")");
    }
    return texts;
}

NODE_MODULE_INIT(/* exports, module, context */) {
    test_isolate = context->GetIsolate();
    test_context = new v8::Global<v8::Context>(test_isolate, context);
    Bridge::Host::install(new TestHost);
    NODE_SET_METHOD(exports, "run", run);
    (void)module;
}
