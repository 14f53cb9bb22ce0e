#include "support/playlists.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace support {
namespace {

std::vector<std::string> namesOf(const Client &client, bool isMissing) {
    std::vector<std::string> names;
    for (int index = 0; index < client.count(); ++index) {
        const Json::Value item = client.item(index);
        EXPECT_TRUE(item["missing"].isBool()) << item.toStyledString();
        if (item["missing"].asBool() == isMissing) {
            names.push_back(item["name"].asString());
        }
    }
    return names;
}

} // namespace

void writeText(const Folder &folder, const std::string &name, const std::string &text) {
    const std::filesystem::path path = folder.path(name);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

ListOptions playlist(const std::string &path, ListOptions options) {
    options.source = "SOURCE_PLAYLIST";
    options.more = [path](mrb_general_param_h param) {
        mrb_param_set_general_prepare_data(param, path.c_str());
    };
    return options;
}

std::vector<std::string> missing(const Client &client) { return namesOf(client, true); }
std::vector<std::string> found(const Client &client) { return namesOf(client, false); }

} // namespace support
