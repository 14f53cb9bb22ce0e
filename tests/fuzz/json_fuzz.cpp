// Requests are untrusted text: whatever it is, the document neither throws nor accesses memory
// that is not its own, and it can parse what it serializes.

#include "MRBBridgeJson.h"

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include <json/reader.h>
#include <json/writer.h>

#include "json_text.h"

#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

using MRBBridge::CMRBBridgeJson;

namespace {

bool readsTree(const std::string &text, Json::Value &tree) {
    try {
        return Json::Reader().parse(text, tree, true);
    } catch (const std::exception &) {
        return false; // nested too deeply
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    CMRBBridgeJson json(text);
    std::vector<std::string> keys;
    json.GetKeys(keys);
    keys.emplace_back("absent");
    for (const std::string &key : keys) {
        bool flag = false;
        int number = 0;
        unsigned int natural = 0;
        long long wide = 0;
        unsigned long long wide_natural = 0;
        double real = 0;
        std::string value;
        std::vector<std::string> texts;
        std::vector<int> ints;
        json.Get(key, flag);
        json.Get(key, number);
        json.Get(key, natural);
        json.Get(key, wide);
        json.Get(key, wide_natural);
        json.Get(key, real);
        json.Get(key, value);
        json.Get(key, texts);
        json.Get(key, ints);
        json.IsInt(key);
        json.IsString(key);
        json.Set(key, texts);
    }
    const std::string written = json.ToString();
    Json::Value tree;
    if (readsTree(text, tree) && MRBBridge::JsonText(tree) != Json::FastWriter().write(tree)) {
        std::abort();
    }
    std::vector<std::string> read_back;
    if (!written.empty() && written != "null\n" && !CMRBBridgeJson(written).GetKeys(read_back)) {
        std::abort();
    }
    for (const std::string &key : keys) {
        json.Remove(key);
    }
    json.Clear();
    return 0;
}
