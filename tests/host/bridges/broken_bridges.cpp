// Libraries that are not a working bridge, one for each value of BROKEN.

#include <stdexcept>
#include <vector>

#include "quill/script_bridge.h"

#if BROKEN == 4
namespace {

class BrokenClass final : public Bridge::ScriptBridge {
  public:
    const char *getScriptClassName() const override { return "Broken"; }
    void mapScriptInterface(Bridge::ScriptContext & /*context*/) override {
        throw std::runtime_error("no methods today");
    }
    void *constructFromScript(const Bridge::ScriptArray & /*arguments*/) override { return nullptr; }
    void destroyFromScript(void * /*native*/) override {}
};

} // namespace
#endif

#if BROKEN == 1 // no entry
extern "C" __attribute__((visibility("default"))) int loadBridge();
int loadBridge() { return 0; }
#else
extern "C" __attribute__((visibility("default"))) std::vector<Bridge::ScriptBridge *> loadBridges();
std::vector<Bridge::ScriptBridge *> loadBridges() {
#if BROKEN == 2
    throw std::runtime_error("no media today");
#elif BROKEN == 4
    static BrokenClass broken;
    return {&broken};
#else
    return {};
#endif
}
#endif
