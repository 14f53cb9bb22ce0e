#pragma once
// The content agent's commands: lists opened on a source, and what a script does
// with them.

#include <map>
#include <string>
#include <vector>

#include "MRBAdapter.h"
#include "item_fields.h"
#include "mrb/agent.h"
#include "mrb/share.h"

namespace MRBBridge {

class CMRBBridgeJson;

/// Owned by the provider. Commands run on the main thread; each takes the request's
/// JSON text and returns the answer's. cb_ functions run on framework threads.
class CMRBAgentAdapter final : public CMRBAdapter {
  public:
    CMRBAgentAdapter();
    ~CMRBAgentAdapter() override;

    // In the order of their FunctionIds.
    std::string RequestList(const std::string &request);
    std::string CancelRequestList(const std::string &request);
    std::string DisConnect(const std::string &request);
    std::string BatchProcess(const std::string &request);
    std::string StopBatchProcess(const std::string &request);
    std::string SetPageStyle(const std::string &request);
    std::string SetNavigation(const std::string &request);
    std::string GetNavigation(const std::string &request);
    std::string SelectAll(const std::string &request);
    std::string DeselectAll(const std::string &request);
    std::string SelectGroup(const std::string &request);
    std::string DeSelectGroup(const std::string &request);
    std::string GetSelectState(const std::string &request);
    std::string GetSelectCount(const std::string &request);
    std::string ToggleSelect(const std::string &request);
    std::string GetGroupCount(const std::string &request);
    std::string GetItemCount(const std::string &request);
    std::string GetItem(const std::string &request);
    std::string GetItemList(const std::string &request);
    std::string MoveToIndex(const std::string &request);
    std::string GetPageIndex(const std::string &request);
    std::string PreparePlayData(const std::string &request);
    std::string SetItemValue(const std::string &request);
    std::string GetItemValue(const std::string &request);
    std::string GetRatingInfo(const std::string &request);
    std::string GetStorageId(const std::string &request);

  private:
    friend struct AgentAdapterProbe; // gives the white-box tests access

    using HandleRegistry = std::map<int, std::string>;
    using FieldTypes = std::map<std::string, _eMRBFieldType>;

    static bool cb_requestList(void *user_data, mrb_agent_handler_h agent, mrb_event_e event, int reserved,
                               const char *server_data);
    static bool cb_batch_process(void *user_data, mrb_share_handler_h share, mrb_event_e event,
                                 mrb_share_status_info_s *status);

    /// Stops and disconnects what the registry holds.
    void m_DestroyHandler();
    /// Its second half: stops the shares on `send`, then disconnects `agent`.
    static void m_DestroyHandler(const std::vector<int> &send, const std::vector<int> &agent);

    static void m_InitFieldType(FieldTypes &types);
    _eMRBFieldType m_GetFieldType(const std::string &field) const;

    /// The script's number of a framework event; -1 when it has none.
    static int m_ConvertEvent(int event);

    HandleRegistry handles_; ///< every handle that a command opened, with that command's name
    FieldTypes field_types_; ///< written by the constructor only
};

} // namespace MRBBridge
