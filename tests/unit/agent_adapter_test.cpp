// White-box tests of the agent adapter: event table, registry, teardown.

#include "MRBAgentAdapter.h"

#include "callbacks.h"
#include "engine_fixture.h"
#include "function.h"

namespace MRBBridge {

/// Gives access to the adapter's private members.
struct AgentAdapterProbe {
    static int convert(int event) { return CMRBAgentAdapter::m_ConvertEvent(event); }
    static std::map<int, std::string> &registry(CMRBAgentAdapter &adapter) { return adapter.handles_; }
    static void teardown(const std::vector<int> &send, const std::vector<int> &agent) {
        CMRBAgentAdapter::m_DestroyHandler(send, agent);
    }
    static std::map<std::string, _eMRBFieldType> &fields(CMRBAgentAdapter &adapter) {
        return adapter.field_types_;
    }
    static size_t offsetOfRegistry(const CMRBAgentAdapter &adapter) {
        return offset(adapter, &adapter.handles_);
    }
    static size_t offsetOfFields(const CMRBAgentAdapter &adapter) {
        return offset(adapter, &adapter.field_types_);
    }
    static size_t offset(const CMRBAgentAdapter &adapter, const void *member) {
        return static_cast<size_t>(static_cast<const char *>(member) -
                                   reinterpret_cast<const char *>(&adapter));
    }
    static _eMRBFieldType type(const CMRBAgentAdapter &adapter, const std::string &field) {
        return adapter.m_GetFieldType(field);
    }
};

} // namespace MRBBridge

namespace {

using MRBBridge::CMRBAgentAdapter;
using Probe = MRBBridge::AgentAdapterProbe;
using Lines = std::vector<std::string>;

class Agent : public EngineTest {
  protected:
    static void answerNext(const char *function, int result) {
        recording::functions().at(function)->queue({int64_t{result}, recording::Untouched{}});
    }
};

TEST_F(Agent, EventTableHasTheNumbersOfScripts) {
    const std::map<int, int> known = {{0, 0},   {1, 1},   {2, 8},   {3, 25},  {14, 13}, {18, 17},
                                      {19, 18}, {20, 19}, {21, 26}, {22, 27}, {23, 28}, {28, 29}};
    for (int event = -3; event <= 40; ++event) {
        const auto found = known.find(event);
        EXPECT_EQ(Probe::convert(event), found == known.end() ? -1 : found->second) << event;
    }
    EXPECT_EQ(Probe::convert(INT32_MIN), -1);
    EXPECT_EQ(Probe::convert(INT32_MAX), -1);
}

TEST_F(Agent, OpenedListIsRegisteredUnderItsHandle) {
    auto &adapter = *new CMRBAgentAdapter; // never destroyed: its teardown would not end
    adapter.RequestList(R"({"param_source_name":"SOURCE_MSC"})");
    ASSERT_EQ(Probe::registry(adapter).size(), 1U);
    EXPECT_EQ(Probe::registry(adapter).begin()->second, "mrb_request_list_v2");
}

TEST_F(Agent, FailedRequestRegistersNothing) {
    auto &adapter = *new CMRBAgentAdapter; // never destroyed: with an entry its teardown would not end
    for (const int code : {-8, -1, 1, 2, INT32_MAX, INT32_MIN}) {
        answerNext("mrb_request_list_v2", code);
        adapter.RequestList(R"({"param_source_name":"SOURCE_MSC","param_agent":9})");
        EXPECT_TRUE(Probe::registry(adapter).empty()) << code;
    }
}

TEST_F(Agent, MembersAreTheRegistryThenTheFieldTypes) {
    const CMRBAgentAdapter adapter;
    EXPECT_EQ(Probe::offsetOfRegistry(adapter), sizeof(MRBBridge::CMRBAdapter));
    EXPECT_EQ(Probe::offsetOfFields(adapter),
              sizeof(MRBBridge::CMRBAdapter) + sizeof(std::map<int, std::string>));
    EXPECT_EQ(sizeof(CMRBAgentAdapter),
              sizeof(MRBBridge::CMRBAdapter) + 2 * sizeof(std::map<int, std::string>));
}

TEST_F(Agent, RefusedSourceRegistersNothing) {
    auto &adapter = *new CMRBAgentAdapter;
    adapter.RequestList(R"({"param_source_name":"source_msc"})");
    EXPECT_TRUE(Probe::registry(adapter).empty());
}

TEST_F(Agent, HandleAlreadyRegisteredKeepsItsEntry) {
    auto &adapter = *new CMRBAgentAdapter;
    Probe::registry(adapter)[7] = "mrb_batch_process_v2";
    recording::functions().at("mrb_request_list_v2")->queue({int64_t{0}, recording::Value{int64_t{7}}});
    adapter.RequestList(R"({"param_source_name":"SOURCE_MSC"})");
    EXPECT_EQ(Probe::registry(adapter), (std::map<int, std::string>{{7, "mrb_batch_process_v2"}}));
}

TEST_F(Agent, CancelAndDisconnectLeaveTheRegistryAlone) {
    auto &adapter = *new CMRBAgentAdapter;
    recording::functions().at("mrb_request_list_v2")->queue({int64_t{0}, recording::Value{int64_t{5}}});
    adapter.RequestList(R"({"param_source_name":"SOURCE_MSC"})");
    adapter.CancelRequestList(R"({"param_agent":5})");
    adapter.DisConnect(R"({"param_agent":5})");
    EXPECT_EQ(Probe::registry(adapter), (std::map<int, std::string>{{5, "mrb_request_list_v2"}}));
}

TEST_F(Agent, ShareRegistersItsListAndNotItself) {
    auto &adapter = *new CMRBAgentAdapter; // never destroyed: its teardown would not end
    recording::functions().at("mrb_batch_process_v2")->queue({int64_t{0}, recording::Value{int64_t{77}}});
    adapter.BatchProcess(R"({"param_agent":9,"param_share_type":2})");
    EXPECT_EQ(Probe::registry(adapter), (std::map<int, std::string>{{9, "mrb_batch_process_v2"}}));
}

TEST_F(Agent, ShareOfAnOpenedListLeavesTheRegistryUnchanged) {
    auto &adapter = *new CMRBAgentAdapter;
    recording::functions().at("mrb_request_list_v2")->queue({int64_t{0}, recording::Value{int64_t{5}}});
    adapter.RequestList(R"({"param_source_name":"SOURCE_MSC"})");
    adapter.BatchProcess(R"({"param_agent":5,"param_share_type":2})");
    EXPECT_EQ(Probe::registry(adapter), (std::map<int, std::string>{{5, "mrb_request_list_v2"}}));
}

TEST_F(Agent, FailedShareRegistersNothing) {
    auto &adapter = *new CMRBAgentAdapter;
    for (const int code : {-8, -1, 1, 2, INT32_MAX, INT32_MIN}) {
        answerNext("mrb_batch_process_v2", code);
        adapter.BatchProcess(R"({"param_agent":9})");
        EXPECT_TRUE(Probe::registry(adapter).empty()) << code;
    }
}

TEST_F(Agent, StoppedShareLeavesTheRegistryAlone) {
    auto &adapter = *new CMRBAgentAdapter;
    adapter.BatchProcess(R"({"param_agent":9,"param_share_type":2})");
    adapter.StopBatchProcess(R"({"param_share_handle":9})");
    EXPECT_EQ(Probe::registry(adapter), (std::map<int, std::string>{{9, "mrb_batch_process_v2"}}));
}

TEST_F(Agent, EmptyRegistryIsTornDownWithoutAFrameworkCall) {
    { CMRBAgentAdapter adapter; }
    const Lines lines = takeLog();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_TRUE(lines[0].starts_with(AGENT + "~CMRBAgentAdapter: Start to destroy CMRBAgentAdapter[0x"));
    EXPECT_EQ(lines[1], AGENT + "m_DestroyHandler: Num of handle for send[0].");
    EXPECT_EQ(lines[2], AGENT + "m_DestroyHandler: Num of handle for agent[0].");
    EXPECT_TRUE(lines[3].starts_with(AGENT + "~CMRBAgentAdapter: End to destroy CMRBAgentAdapter[0x"));
    EXPECT_EQ(calls(), Lines{});
}

TEST_F(Agent, FirstEntryOfAnotherNameEndsTheTeardownAtOnce) {
    {
        CMRBAgentAdapter adapter;
        Probe::registry(adapter) = {{1, "another"}, {2, "mrb_request_list_v2"}};
    }
    const Lines lines = takeLog();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[1], AGENT + "m_DestroyHandler: Error handle[another].");
    EXPECT_EQ(calls(), Lines{});
}

TEST_F(Agent, TeardownStopsSharesThenDisconnectsLists) {
    Probe::teardown({3, 4}, {1, -2});
    EXPECT_EQ(calls(), (Lines{"mrb_stop_batch_process_v2(3)", "mrb_stop_batch_process_v2(4)",
                              "mrb_disconnect_v2(1)", "mrb_disconnect_v2(-2)"}));
    EXPECT_EQ(takeLog(), (Lines{AGENT + "m_DestroyHandler: Num of handle for send[2].",
                                AGENT + "m_DestroyHandler: Stop Send Handle[0x3].",
                                AGENT + "m_DestroyHandler: Stop Send Handle[0x4].",
                                AGENT + "m_DestroyHandler: Num of handle for agent[2].",
                                AGENT + "m_DestroyHandler: Disconnect Agent Handle[0x1].",
                                AGENT + "m_DestroyHandler: Disconnect Agent Handle[0xfffffffe]."}));
}

TEST_F(Agent, TeardownSkipsTheOtherSharesAfterAFailureButStillDisconnects) {
    answerNext("mrb_stop_batch_process_v2", -8);
    Probe::teardown({3, 4}, {1});
    EXPECT_EQ(calls(), (Lines{"mrb_stop_batch_process_v2(3)", "mrb_disconnect_v2(1)"}));
    EXPECT_EQ(takeLog(), (Lines{AGENT + "m_DestroyHandler: Num of handle for send[2].",
                                AGENT + "m_DestroyHandler: Stop Send Handle[0x3].",
                                AGENT + "m_DestroyHandler: Destroy Handle[0x3] faild.",
                                AGENT + "m_DestroyHandler: Num of handle for agent[1].",
                                AGENT + "m_DestroyHandler: Disconnect Agent Handle[0x1]."}));
}

TEST_F(Agent, TeardownStopsAtTheFirstListThatFails) {
    answerNext("mrb_disconnect_v2", 0);
    answerNext("mrb_disconnect_v2", -2);
    Probe::teardown({}, {1, 2, 3});
    EXPECT_EQ(calls(), (Lines{"mrb_disconnect_v2(1)", "mrb_disconnect_v2(2)"}));
    EXPECT_EQ(takeLog().back(), AGENT + "m_DestroyHandler: Destroy Handle[0x2] faild.");
}

TEST_F(Agent, FieldMapIsFilledAtConstruction) {
    CMRBAgentAdapter adapter;
    EXPECT_EQ(Probe::fields(adapter).size(), 80U);
    std::map<int, int> by_type;
    for (const auto &[field, type] : Probe::fields(adapter)) {
        ++by_type[type];
    }
    EXPECT_EQ(by_type, (std::map<int, int>{{1, 2}, {2, 3}, {3, 3}, {4, 30}, {5, 30}, {6, 12}}));
}

TEST_F(Agent, FieldsAreLookedUpByTheirExactName) {
    const CMRBAgentAdapter adapter;
    EXPECT_EQ(Probe::type(adapter, "SIZE"), MRBBridge::FIELD_TYPE_LINT);
    EXPECT_EQ(Probe::type(adapter, "YEAR"), MRBBridge::FIELD_TYPE_CHAR);
    EXPECT_EQ(Probe::type(adapter, "EMBARGO_TIME"), MRBBridge::FIELD_TYPE_INT);
    EXPECT_EQ(Probe::type(adapter, "size"), MRBBridge::FIELD_TYPE_NONE);
    EXPECT_EQ(Probe::type(adapter, ""), MRBBridge::FIELD_TYPE_NONE);
    EXPECT_EQ(Probe::type(adapter, std::string("TITLE\0", 6)), MRBBridge::FIELD_TYPE_NONE);
}

// Each of these ends a copy of this process.

TEST_F(Agent, ListEventWithoutACallbackEntryEndsTheProcess) {
    auto &adapter = *new CMRBAgentAdapter; // without a provider
    answerNext("mrb_request_list_v2", -1);
    adapter.RequestList(R"({"param_source_name":"SOURCE_MSC"})");
    EXPECT_DEATH(recording::fireList({}, {}), "cb_requestList: Assertion `cb != __null' failed");
}

TEST_F(Agent, ShareEventWithoutACallbackEntryEndsTheProcess) {
    auto &adapter = *new CMRBAgentAdapter;
    answerNext("mrb_batch_process_v2", -1);
    adapter.BatchProcess("{}");
    EXPECT_DEATH(recording::fireShare({}, {}), "cb_batch_process: Assertion `cb != __null' failed");
}

} // namespace
