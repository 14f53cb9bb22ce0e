#pragma once
// The storage manager's commands: device lists, notifications, the DLNA service.

#include <string>

#include "MRBAdapter.h"
#include "mrb/storage.h"

namespace MRBBridge {

/// Owned by the provider. Commands run on the main thread and take no request; cb_
/// functions run on framework threads. The destructor removes both notification
/// callbacks and stops the DLNA service, whether or not they were in use.
class CMRBStorageMgrAdapter final : public CMRBAdapter {
  public:
    CMRBStorageMgrAdapter() = default;
    ~CMRBStorageMgrAdapter() override;

    std::string SetUSBCallback();
    std::string UnsetUSBCallback();
    std::string GetUSBList();
    std::string GetPTPList();
    std::string InitDLNAService();
    std::string FinalizeDLNAService();
    std::string SetDLNACallback();
    std::string UnsetDLNACallback();
    std::string GetDLNAList();

  private:
    static void cb_usb_notification(void *user_data, mrb_storage_event_e event, _mrb_storage_s *&device);
    static void cb_dlna_notification(void *user_data, mrb_storage_event_e event, _mrb_storage_s *&device);
    static void cb_dlna_initialize(mrb_asf_serviceconnector_state_e state, void *user_data);
};

} // namespace MRBBridge
