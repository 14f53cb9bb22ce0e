// Delivery: from FireOnCallbacks on any thread to a script function.

#include <limits>
#include <set>
#include <thread>

#include "MRBAdapterProvider.h"
#include "engine_fixture.h"
#include "intercepted_calls.h"

namespace {

using Bridge::ScriptArray;
using MRBBridge::CMRBAdapterProvider;
using Lines = std::vector<std::string>;

class Delivery : public EngineTest {
  protected:
    Delivery() { forget(); }

    /// Registers a function as a script does.
    static void registerFunction(CMRBAdapterProvider &provider, int func, const ReceivedCalls &received) {
        const Values arguments = {received.function()};
        provider.ExecuteWithCallback(func, ScriptArray(arguments));
        forget();
    }

    static void fire(int func, const std::string &text, void *provider) {
        CMRBAdapterProvider::FireOnCallbacks(func, text, provider);
    }

    // Not destroyed where a test does not do it: the tests' main loop is drained
    // by each test itself.
    CMRBAdapterProvider *provider_ = new CMRBAdapterProvider;
};

TEST_F(Delivery, IsLoggedWhenItIsQueued) {
    fire(0, "{}%s", provider_);
    const Lines lines = takeLog();
    ASSERT_EQ(lines.size(), 2U);
    std::string address(32, '\0');
    address.resize(
        static_cast<size_t>(snprintf(address.data(), address.size(), "%p", static_cast<void *>(provider_))));
    EXPECT_EQ(lines[0], PROVIDER + "FireOnCallbacks: FUNC[0], data[{}%s], self[" + address + "].");
    EXPECT_EQ(lines[1], PROVIDER + "FireOnCallbacks: callback done.");
}

TEST_F(Delivery, IsQueuedAtPriority150WithoutADestroyNotifier) {
    const QueuedFunctions queued;
    fire(0, "text", provider_);
    ASSERT_EQ(queued.all.size(), 1U);
    EXPECT_EQ(queued.all[0].priority, 150);
    EXPECT_EQ(queued.all[0].function, &MRBBridge::OnCallbackData::FireOnCallbacks);
    EXPECT_EQ(queued.all[0].notify, nullptr);
    drainMainLoop();
}

TEST_F(Delivery, RunsAfterHighIdleWorkAndBeforeDefaultIdleWork) {
    const v8::Local<v8::Value> order = evaluate("globalThis.order = []; (name) => { order.push(name); }");
    const Values arguments = {order};
    provider_->ExecuteWithCallback(0, ScriptArray(arguments));
    struct Work {
        const char *name;
        v8::Local<v8::Function> note;
    };
    const auto run = [](void *data) -> gboolean {
        const auto *work = static_cast<const Work *>(data);
        v8::Local<v8::Value> name = Bridge::StringToV8(work->name);
        EXPECT_FALSE(work->note->Call(testContext(), v8::Undefined(testIsolate()), 1, &name).IsEmpty());
        return G_SOURCE_REMOVE;
    };
    Work low{"200", order.As<v8::Function>()};
    Work later{"151", order.As<v8::Function>()};
    Work earlier{"149", order.As<v8::Function>()};
    Work high{"100", order.As<v8::Function>()};
    g_idle_add_full(200, run, &low, nullptr);
    g_idle_add_full(151, run, &later, nullptr);
    fire(0, "first result", provider_);
    fire(0, "second result", provider_);
    g_idle_add_full(149, run, &earlier, nullptr);
    g_idle_add_full(100, run, &high, nullptr);
    drainMainLoop();
    EXPECT_EQ(textOf(Bridge::ScriptObject(evaluate("order.join()"))),
              "100,149,first result,second result,151,200");
}

TEST_F(Delivery, TextIsTheFunctionsOneArgument) {
    const ReceivedCalls received;
    registerFunction(*provider_, 0, received);
    fire(0, "{\"a\":1}\n", provider_);
    EXPECT_EQ(received.calls(), "[]");
    drainMainLoop();
    EXPECT_EQ(received.calls(), R"([["{\"a\":1}\n"]])");
}

TEST_F(Delivery, EmptyTextGivesNoArgument) {
    const ReceivedCalls received;
    registerFunction(*provider_, 3, received);
    fire(3, "", provider_);
    drainMainLoop();
    EXPECT_EQ(received.calls(), "[[]]");
}

TEST_F(Delivery, ResultsComeInOrderEachWithItsText) {
    const ReceivedCalls received;
    registerFunction(*provider_, 0, received);
    fire(0, "first", provider_);
    fire(0, "second", provider_);
    drainMainLoop();
    EXPECT_EQ(received.calls(), R"([["first"],["second"]])");
}

TEST_F(Delivery, EachCommandHasAFunctionOfItsOwn) {
    const std::vector<int> commands = {0, 3, 26, 31, 35, 37};
    std::vector<ReceivedCalls> received(commands.size());
    for (size_t index = 0; index < commands.size(); ++index) {
        registerFunction(*provider_, commands[index], received[index]);
    }
    for (const int func : commands) {
        fire(func, std::to_string(func), provider_);
    }
    drainMainLoop();
    for (size_t index = 0; index < commands.size(); ++index) {
        EXPECT_EQ(received[index].calls(), "[[\"" + std::to_string(commands[index]) + "\"]]");
    }
}

TEST_F(Delivery, CommandsWithoutAFunctionAreLoggedAndDropped) {
    const std::set<int> slots = {0, 3, 26, 31, 35, 37};
    for (int func = -2; func <= 45; ++func) {
        if (slots.count(func) != 0) {
            continue;
        }
        recording::clearLogLines();
        fire(func, "text", provider_);
        EXPECT_EQ(takeLog().back(), PROVIDER + "FireOnCallbacks: No need to fire js callback.");
    }
    fire(std::numeric_limits<int>::max(), "text", provider_);
    fire(std::numeric_limits<int>::min(), "text", provider_);
    EXPECT_EQ(takeLog().back(), PROVIDER + "FireOnCallbacks: No need to fire js callback.");
    drainMainLoop();
}

TEST_F(Delivery, ResultWithoutARegisteredFunctionIsFreedWithoutACall) {
    fire(31, "no function", provider_);
    drainMainLoop();
    EXPECT_EQ(takeLog().back(), PROVIDER + "FireOnCallbacks: callback done.");
}

TEST_F(Delivery, FunctionRegisteredAtDeliveryTimeReceivesTheResult) {
    const ReceivedCalls first;
    const ReceivedCalls second;
    registerFunction(*provider_, 0, first);
    fire(0, "queued before", provider_);
    registerFunction(*provider_, 0, second);
    drainMainLoop();
    EXPECT_EQ(first.calls(), "[]");
    EXPECT_EQ(second.calls(), R"([["queued before"]])");
}

TEST_F(Delivery, BytesThatAreNotUtf8ReachTheScriptAsReplacementCharacters) {
    const ReceivedCalls received;
    registerFunction(*provider_, 0, received);
    fire(0, "a\xff", provider_);
    drainMainLoop();
    EXPECT_EQ(received.calls(), "[[\"a\xef\xbf\xbd\"]]");
}

TEST_F(Delivery, RecordsOfADestroyedProviderReachNoFunction) {
    const ReceivedCalls received;
    registerFunction(*provider_, 0, received);
    fire(0, "too late", provider_);
    delete provider_;
    drainMainLoop();
    EXPECT_EQ(received.calls(), "[]");
}

TEST_F(Delivery, RecordsOfADestroyedProviderReachNoLaterProvider) {
    const ReceivedCalls received;
    registerFunction(*provider_, 0, received);
    // Enough for an allocator to return the same storage again.
    for (int round = 0; round < 100; ++round) {
        auto *gone = new CMRBAdapterProvider;
        fire(0, "for the one that is gone", gone);
        delete gone;
        auto *later = new CMRBAdapterProvider;
        EXPECT_NE(later, gone);
        registerFunction(*later, 0, received);
    }
    drainMainLoop();
    EXPECT_EQ(received.calls(), "[]");
}

TEST_F(Delivery, ResultsOfSeveralThreadsAllArriveInEachThreadsOrder) {
    constexpr int threads = 4;
    constexpr int results = 2000;
    const ReceivedCalls received;
    registerFunction(*provider_, 0, received);
    std::vector<std::thread> running;
    running.reserve(threads);
    for (int thread = 0; thread < threads; ++thread) {
        running.emplace_back([this, thread] {
            for (int number = 0; number < results; ++number) {
                fire(0, std::to_string(thread * results + number), provider_);
            }
        });
    }
    for (std::thread &thread : running) {
        thread.join();
    }
    drainMainLoop();
    // Sorted by thread, the numbers must be in order without a gap.
    const v8::Local<v8::Value> check =
        evaluate("((function_) => { const last = [-1, 1999, 3999, 5999]; let count = 0;"
                 " for (const [text] of function_.calls) { const n = Number(text), t = Math.floor(n / 2000);"
                 "   if (n !== last[t] + 1) return 'out of order: ' + n; last[t] = n; count += 1; }"
                 " return String(count); })");
    v8::Local<v8::Value> function = received.function();
    const v8::Local<v8::Value> verdict = check.As<v8::Function>()
                                             ->Call(testContext(), v8::Undefined(testIsolate()), 1, &function)
                                             .ToLocalChecked();
    EXPECT_EQ(textOf(Bridge::ScriptObject(verdict)), std::to_string(threads * results));
}

// Ends a copy of this process.

TEST_F(Delivery, WithoutAProviderEndsTheProcessForEveryCommandAfterItsLogLine) {
    for (const int func : {0, 1, 37, 38}) {
        EXPECT_DEATH(
            {
                recording::echoLogLines(2);
                fire(func, "text", nullptr);
            },
            "FUNC\\[" + std::to_string(func) +
                "\\], data\\[text\\], self\\[\\(nil\\)\\]\\.\033\\[0m\n.*FireOnCallbacks: Assertion `p != "
                "__null' "
                "failed");
    }
}

} // namespace
