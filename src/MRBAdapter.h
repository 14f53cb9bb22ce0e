#pragma once
// The adapters' common base, and the numbers of the script commands.

#include <string>

#include "method_table.h"

namespace MRBBridge {

#define MRB_FUNCTION_ID(name, func, adapter, operation, arguments) func,
/// The number of a script command: its index in the method table.
enum FunctionId : int { MRB_METHODS(MRB_FUNCTION_ID) FUNC_COUNT };
#undef MRB_FUNCTION_ID

/// Base of the three adapters. Owned by the provider, which sets both members
/// right after it creates the adapter; they never change afterwards, so framework
/// threads may read them.
class CMRBAdapter {
  public:
    /// Delivers a result to the script function registered for a command: the
    /// command's FunctionId, the JSON text, the provider. Any thread.
    using CallbackEntry = void (*)(int func, std::string data, void *provider);

    CMRBAdapter() = default;
    CMRBAdapter(const CMRBAdapter &) = delete;
    CMRBAdapter &operator=(const CMRBAdapter &) = delete;
    virtual ~CMRBAdapter() = default;

    void SetDelivery(void *provider, CallbackEntry entry) {
        provider_ = provider;
        callback_entry_ = entry;
    }

  protected:
    void *provider_ = nullptr;
    CallbackEntry callback_entry_ = nullptr;
};

} // namespace MRBBridge
