#include "list_source.h"

#include <array>

#include "request.h"

namespace MRBBridge {
namespace {

void SetMscParams(mrb_general_param_h param, const CMRBBridgeJson &request) {
    const std::string scan_path = Text(request, "param_scan_path");
    const bool is_uhd = Bool(request, "param_is_uhd");
    mrb_param_set_general_path(param, scan_path.c_str());
    mrb_param_set_general_is_uhd_meta(param, is_uhd);
    mrb_param_set_general_source(param, "SOURCE_MSC");
    if (!is_uhd) {
        return;
    }
    const bool update = Bool(request, "param_update_flag");
    const std::string language = Text(request, "param_lang_id");
    const std::string device_id = Text(request, "param_duid");
    const std::string access_token = Text(request, "param_access_token");
    const std::string country = Text(request, "param_country");
    mrb_param_set_general_update_uhd_meta(param, update);
    mrb_param_set_general_lang_id(param, language.c_str());
    mrb_param_set_general_duid(param, device_id.c_str());
    mrb_param_set_general_access_token(param, access_token.c_str());
    mrb_param_set_general_country(param, country.c_str());
}

void SetDlnaParams(mrb_general_param_h param, const CMRBBridgeJson &request) {
    const std::string scan_path = Text(request, "param_scan_path");
    const std::string folder_id = Text(request, "param_folder_id");
    const std::string key_word = Text(request, "param_key_word");
    mrb_param_set_general_path(param, scan_path.c_str());
    mrb_param_set_general_folder_id(param, folder_id.c_str());
    // Even an empty one: a server's search takes exactly this key word.
    mrb_param_set_general_key_word(param, key_word.c_str());
    mrb_param_set_general_source(param, "SOURCE_DLNA");
}

void SetPtpParams(mrb_general_param_h param, const CMRBBridgeJson &request) {
    const std::string model_name = Text(request, "param_model_name");
    const int bus = Int(request, "param_bus_value");
    const int device = Int(request, "param_device_value");
    const std::string folder_id = Text(request, "param_folder_id");
    mrb_param_set_general_folder_id(param, folder_id.c_str());
    mrb_param_set_general_mode_name(param, model_name.c_str());
    mrb_param_set_general_bus_value(param, bus);
    mrb_param_set_general_device_value(param, device);
    mrb_param_set_general_source(param, "SOURCE_PTP");
}

void SetPlaylistParams(mrb_general_param_h param, const CMRBBridgeJson &request) {
    // Read, so that a missing name is logged, but not passed on: the framework lists
    // every playlist.
    Text(request, "param_playlist_name");
    mrb_param_set_general_source(param, "SOURCE_PLAYLIST");
}

struct Source {
    const char *name;
    SetSourceParams set_params;
};
constexpr std::array<Source, 4> sources = {{
    {"SOURCE_MSC", SetMscParams},
    {"SOURCE_DLNA", SetDlnaParams},
    {"SOURCE_PTP", SetPtpParams},
    {"SOURCE_PLAYLIST", SetPlaylistParams},
}};

} // namespace

SetSourceParams FindListSource(const std::string &name) {
    for (const Source &source : sources) {
        if (name == source.name) {
            return source.set_params;
        }
    }
    return nullptr;
}

} // namespace MRBBridge
