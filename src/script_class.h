#pragma once
// The script class MRBBridge: its name, its forty methods, its native parts.

#include <cstddef>
#include <vector>

#include "MRBAdapterProvider.h"
#include "method_table.h"
#include "quill/bridge.h"

namespace MRBBridge {

inline constexpr size_t METHOD_COUNT = 40;
inline constexpr size_t METHOD_NAME_BYTES = 40;

/// The methods' script names by FunctionId, each padded with zeros.
extern char func_list[METHOD_COUNT][METHOD_NAME_BYTES]; // NOLINT(*-avoid-c-arrays): a fixed layout

/// The script class. Created by loadBridges and never deleted; main thread only.
class MRBBridge : public Bridge::ScriptBridge {
  public:
    MRBBridge() = default;
    ~MRBBridge() override = default;

    const char *getScriptClassName() const override;
    void mapScriptInterface(Bridge::ScriptContext &context) override;
    void *constructFromScript(const Bridge::ScriptArray &arguments) override;
    void destroyFromScript(void *native) override;

#define MRB_DECLARE_HANDLER(name, func, adapter, operation, arguments)                                       \
    static Bridge::ScriptObject Handle##operation(CMRBAdapterProvider *provider, const Bridge::ScriptArray &);
    MRB_METHODS(MRB_DECLARE_HANDLER)
#undef MRB_DECLARE_HANDLER
};

} // namespace MRBBridge

/// The library's entry: creates one more MRBBridge and returns all created so far.
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage" // the engine looks it up by its plain name
#endif
extern "C" std::vector<Bridge::ScriptBridge *> loadBridges();
#ifdef __clang__
#pragma clang diagnostic pop
#endif
