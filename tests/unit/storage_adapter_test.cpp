// White-box tests of the storage manager's adapter: its record writers, and an adapter
// without a provider.

#include "MRBStorageMgrAdapter.h"

#include "callbacks.h"
#include "engine_fixture.h"
#include "function.h"
#include "storage_record.h"

namespace {

using MRBBridge::CMRBStorageMgrAdapter;
using recording::Value;
using Lines = std::vector<std::string>;

_mrb_storage_s *device(std::map<std::string, Value> values) {
    return recording::deviceOf(recording::addDevice(std::move(values)));
}

class Storage : public EngineTest {
  protected:
    /// An adapter without provider and callback entry, registered with the framework.
    Storage() : adapter_(*new CMRBStorageMgrAdapter) { // the framework may keep it as user data
        adapter_.SetUSBCallback();
        adapter_.SetDLNACallback();
        adapter_.InitDLNAService();
        forget();
    }

    CMRBStorageMgrAdapter &adapter_;
};

TEST_F(Storage, UsbRecordHasThirteenKeys) {
    Json::Value record;
    MRBBridge::WriteUSBRecord(device({}), record);
    EXPECT_EQ(record.size(), 13U);
    EXPECT_EQ(calls().size(), 13U);
}

TEST_F(Storage, DlnaRecordHasFourKeys) {
    Json::Value record;
    MRBBridge::WriteDLNARecord(device({}), record);
    EXPECT_EQ(record.size(), 4U);
    EXPECT_EQ(calls().size(), 4U);
}

TEST_F(Storage, RecordIsAppendedToExistingKeys) {
    Json::Value record;
    record["storage_event"] = 7;
    MRBBridge::WriteDLNARecord(device({}), record);
    EXPECT_EQ(record["storage_event"].asInt(), 7);
    EXPECT_EQ(record.size(), 5U);
}

TEST_F(Storage, NullTextBecomesAnEmptyOne) {
    _mrb_storage_s *nameless = device({{"mrb_storage_get_name", nullptr}});
    ASSERT_EQ(mrb_storage_get_name(nameless), nullptr); // else this shows nothing
    Json::Value record;
    MRBBridge::WriteUSBRecord(nameless, record);
    EXPECT_EQ(record["storage_name"], Json::Value(""));
}

TEST_F(Storage, SizesAreTextsAndTheOtherNumbersIntegers) {
    Json::Value record;
    MRBBridge::WriteUSBRecord(
        device({{"mrb_storage_get_totalsize", int64_t{-1}}, {"mrb_storage_get_bus", int64_t{-1}}}), record);
    EXPECT_EQ(record["storage_totalsize"], Json::Value("-1"));
    EXPECT_EQ(record["storage_bus"], Json::Value(-1));
}

TEST_F(Storage, RecordsAreAppendedInOrder) {
    Json::Value document;
    MRBBridge::AppendRecord(document, Json::Value(1));
    MRBBridge::AppendRecord(document, Json::Value(2));
    ASSERT_EQ(document.getMemberNames(), Lines{"storage_devices"});
    ASSERT_EQ(document["storage_devices"].size(), 2U);
    EXPECT_EQ(document["storage_devices"][0].asInt(), 1);
}

TEST_F(Storage, DestructorRemovesBothCallbacksThenStopsTheService) {
    delete new CMRBStorageMgrAdapter;
    EXPECT_EQ(calls(), (Lines{"mrb_unset_usb_callback()", "mrb_unset_dlna_callback()",
                              R"(mrb_finalize_dlna_service("cb1","user1"))"}));
}

// Each of these ends a copy of this process.

TEST_F(Storage, UsbEventWithoutACallbackEntryEndsTheProcess) {
    EXPECT_DEATH(recording::fireUsb({}, {0, recording::addDevice({})}), "Assertion `cb != __null' failed");
}

TEST_F(Storage, DlnaEventWithoutACallbackEntryEndsTheProcess) {
    EXPECT_DEATH(recording::fireDlna({}, {0, recording::addDevice({})}), "Assertion `cb != __null' failed");
}

TEST_F(Storage, ServiceStateWithoutACallbackEntryEndsTheProcess) {
    EXPECT_DEATH(recording::fireDlnaState({}, 1), "Assertion `cb != __null' failed");
}

} // namespace
