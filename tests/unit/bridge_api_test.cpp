// The engine's bridge API: arrays, functions and texts between C++ and scripts.

#include "engine_fixture.h"
#include "quill/bridge.h"

namespace {

using Bridge::ScriptArray;
using Bridge::ScriptFunction;
using Bridge::ScriptObject;

class BridgeApi : public EngineTest {
  protected:
    static std::string json(const ScriptArray &array) {
        std::string text;
        for (int index = 0; index < array.length(); ++index) {
            const v8::Local<v8::Value> value = array.get(index).getValue();
            text += (index == 0 ? "" : ",") + (value->IsString() ? array.get(index).asString() : "undefined");
        }
        return text;
    }
};

TEST_F(BridgeApi, ArraysGrowToAnyLengthAndFillGapsWithUndefined) {
    ScriptArray array;
    EXPECT_EQ(array.length(), 0);
    array.set(1, ScriptObject("b"));
    EXPECT_EQ(json(array), "undefined,b");
    for (const int index : {0, 3, 4, 7}) {
        array.set(index, ScriptObject(std::to_string(index)));
    }
    EXPECT_EQ(json(array), "0,b,undefined,3,4,undefined,undefined,7");
    array.set(1, ScriptObject("B"));
    array.set(7, ScriptObject());
    EXPECT_EQ(json(array), "0,B,undefined,3,4,undefined,undefined,undefined");
}

TEST_F(BridgeApi, ArraysReturnUndefinedOutsideTheirLength) {
    ScriptArray array;
    array.set(-1, ScriptObject("a"));
    EXPECT_EQ(array.length(), 0);
    EXPECT_TRUE(array.get(-1).getValue()->IsUndefined());
    EXPECT_TRUE(array.get(0).getValue()->IsUndefined());
}

TEST_F(BridgeApi, ArraysOverACallsArgumentsCannotBeSet) {
    const Values arguments = {evaluate("'a'"), evaluate("'b'")};
    ScriptArray array(arguments);
    array.set(0, ScriptObject("c"));
    EXPECT_EQ(json(array), "a,b");
    EXPECT_TRUE(array.get(2).getValue()->IsUndefined());
}

TEST_F(BridgeApi, FunctionsAreCalledWithEveryValueOfAnArray) {
    const ReceivedCalls received;
    const ScriptFunction function = ScriptObject(received.function()).asFunction();
    for (const int count : {0, 1, 4, 5, 9}) {
        ScriptArray array;
        for (int index = 0; index < count; ++index) {
            array.set(index, ScriptObject(std::to_string(index)));
        }
        function.invoke(array);
    }
    EXPECT_EQ(received.calls(), R"([[],["0"],["0","1","2","3"],["0","1","2","3","4"],)"
                                R"(["0","1","2","3","4","5","6","7","8"]])");
}

TEST_F(BridgeApi, FunctionsAreCalledWithTheArgumentsOfAnotherCall) {
    const ReceivedCalls received;
    const Values arguments = {evaluate("1"), evaluate("'two'")};
    ScriptObject(received.function()).asFunction().invoke(ScriptArray(arguments));
    EXPECT_EQ(received.calls(), R"([[1,"two"]])");
}

TEST_F(BridgeApi, ValueThatIsNotAFunctionIsNotCalled) {
    EXPECT_TRUE(ScriptFunction().invoke(ScriptArray()).getValue().IsEmpty());
    const ScriptFunction null = ScriptObject::Null();
    EXPECT_FALSE(null.isFunction());
    EXPECT_TRUE(null.getValue()->IsNull());
    EXPECT_TRUE(null.invoke(ScriptArray()).getValue().IsEmpty());
}

TEST_F(BridgeApi, ResultsOfFunctionsAreReturnedAndThrownValuesAreNot) {
    EXPECT_EQ(textOf(ScriptObject(evaluate("() => 'result'")).asFunction().invoke(ScriptArray())), "result");
    const ScriptFunction throws = ScriptObject(evaluate("() => { throw new Error('x'); }")).asFunction();
    EXPECT_TRUE(throws.invoke(ScriptArray()).getValue().IsEmpty());
}

TEST_F(BridgeApi, CopiesOfAFunctionOutliveIt) {
    const ReceivedCalls received;
    ScriptFunction copy;
    {
        const ScriptFunction first = ScriptObject(received.function()).asFunction();
        copy = first;
        ScriptFunction moved = std::move(copy);
        copy = moved;
    }
    ScriptFunction &itself = copy;
    copy = itself;
    copy.invoke(ScriptArray());
    EXPECT_EQ(received.calls(), "[[]]");
}

TEST_F(BridgeApi, TextsOfEveryLengthAreReadWhole) {
    for (const size_t length : {0, 1, 511, 512, 513, 2000, 100000}) {
        for (const char *letter : {"a", "\xc3\xa9", "\xe2\x82\xac"}) {
            std::string text;
            for (size_t count = 0; count < length; ++count) {
                text += letter;
            }
            EXPECT_EQ(ScriptObject(text).asString(), text) << length << letter;
        }
    }
}

TEST_F(BridgeApi, LoneSurrogatesOfEveryLengthBecomeReplacementCharacters) {
    for (const int length : {1, 600}) {
        const std::string text =
            ScriptObject(evaluate("'\\ud800'.repeat(" + std::to_string(length) + ")")).asString();
        std::string expected;
        for (int count = 0; count < length; ++count) {
            expected += "\xef\xbf\xbd";
        }
        EXPECT_EQ(text, expected);
    }
}

TEST_F(BridgeApi, ExceptionsCarryTheirMessage) {
    EXPECT_STREQ(Bridge::QuillException(nullptr).what(), "");
    const Bridge::QuillJsRuntimeException error("text");
    EXPECT_STREQ(error.what(), "text");
    EXPECT_EQ(error.file() + error.sourceLine() + error.stack(), "");
    EXPECT_EQ(error.line() + error.column(), 0);
}

} // namespace
