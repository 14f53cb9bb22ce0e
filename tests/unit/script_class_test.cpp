// The script class: the library's entry, the method table, native parts.

#include "script_class.h"

#include <cstring>

#include "engine_fixture.h"

namespace {

TEST_F(EngineTest, LoadBridgesReturnsOneBridgeMoreEachTime) {
    const std::vector<Bridge::ScriptBridge *> first = loadBridges();
    const std::vector<Bridge::ScriptBridge *> second = loadBridges();
    ASSERT_EQ(first.size(), 1U);
    ASSERT_EQ(second.size(), 2U);
    EXPECT_EQ(first[0], second[0]);
    EXPECT_NE(second[0], second[1]);
    EXPECT_STREQ(second[1]->getScriptClassName(), "MRBBridge");
}

TEST_F(EngineTest, MethodNamesAreRowsOfFortyPaddedWithZeros) {
    static_assert(sizeof(MRBBridge::func_list) == 1600);
    EXPECT_STREQ(MRBBridge::func_list[0], "mrb_request_list_v2");
    EXPECT_STREQ(MRBBridge::func_list[35], "mrb_Init_dlna_service");
    EXPECT_STREQ(MRBBridge::func_list[39], "mrb_get_dlna_list");
    for (const auto &name : MRBBridge::func_list) {
        const size_t length = strnlen(name, sizeof(name));
        ASSERT_LT(length, sizeof(name));
        for (size_t index = length; index < sizeof(name); ++index) {
            EXPECT_EQ(name[index], '\0');
        }
    }
}

TEST_F(EngineTest, DestroyingANullNativePartDoesNothing) {
    MRBBridge::MRBBridge().destroyFromScript(nullptr);
    EXPECT_EQ(calls(), std::vector<std::string>{});
}

TEST_F(EngineTest, NativePartsAreProvidersOfTheirOwn) {
    MRBBridge::MRBBridge bridge;
    void *first = bridge.constructFromScript(Bridge::ScriptArray());
    void *second = bridge.constructFromScript(Bridge::ScriptArray());
    EXPECT_NE(first, nullptr);
    EXPECT_NE(first, second);
    bridge.destroyFromScript(first);
    bridge.destroyFromScript(second);
    drainMainLoop();
}

TEST_F(EngineTest, MethodsAreSetOnTheTemplateThatTheContextCarries) {
    const v8::Local<v8::ObjectTemplate> object_template = v8::ObjectTemplate::New(testIsolate());
    Bridge::ScriptContext context(object_template);
    MRBBridge::MRBBridge().mapScriptInterface(context);
    const v8::Local<v8::Object> object = object_template->NewInstance(testContext()).ToLocalChecked();
    const v8::Local<v8::Array> names = object->GetOwnPropertyNames(testContext()).ToLocalChecked();
    ASSERT_EQ(names->Length(), 40U);
    for (uint32_t index = 0; index < 40; ++index) {
        const v8::Local<v8::Value> name = names->Get(testContext(), index).ToLocalChecked();
        EXPECT_EQ(textOf(Bridge::ScriptObject(name)), MRBBridge::func_list[index]);
        EXPECT_TRUE(object->Get(testContext(), name).ToLocalChecked()->IsFunction());
    }
}

} // namespace
