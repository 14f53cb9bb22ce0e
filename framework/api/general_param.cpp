// The general parameter object: the options of a list.

#include "api/general_param.h"

#include "api/c_api.h"
#include "mrb/agent.h"

using mrb::ListRequest;

namespace {

int setText(mrb_general_param_h param, std::string ListRequest::*member, const char *text) {
    return mrb::setText<ListRequest>(param, member, text);
}

template <typename Value>
int setValue(mrb_general_param_h param, Value ListRequest::*member, Value value) {
    return mrb::setValue<ListRequest>(param, member, value);
}

} // namespace

int mrb_create_general_param(mrb_general_param_h *param) { return mrb::createObject(param); }

int mrb_destroy_general_param(mrb_general_param_h param) { return mrb::destroyObject(param); }

int mrb_param_set_general_content_type(mrb_general_param_h param, const char *content_type) {
    return setText(param, &ListRequest::contentType, content_type);
}

int mrb_param_set_general_sort_category(mrb_general_param_h param, const char *sort_category) {
    return setText(param, &ListRequest::sortCategory, sort_category);
}

int mrb_param_set_general_extension(mrb_general_param_h param, const char *extension) {
    return setText(param, &ListRequest::extension, extension);
}

int mrb_param_set_general_key_word(mrb_general_param_h param, const char *key_word) {
    return setText(param, &ListRequest::keyWord, key_word);
}

int mrb_param_set_general_prepare_data(mrb_general_param_h param, const char *prepare_data) {
    return setText(param, &ListRequest::prepareData, prepare_data);
}

int mrb_param_set_general_source(mrb_general_param_h param, const char *source) {
    return setText(param, &ListRequest::source, source);
}

int mrb_param_set_general_path(mrb_general_param_h param, const char *path) {
    return setText(param, &ListRequest::path, path);
}

int mrb_param_set_general_folder_id(mrb_general_param_h param, const char *folder_id) {
    return setText(param, &ListRequest::folderId, folder_id);
}

int mrb_param_set_general_mode_name(mrb_general_param_h param, const char *model_name) {
    return setText(param, &ListRequest::modelName, model_name);
}

int mrb_param_set_general_bus_value(mrb_general_param_h param, int bus) {
    return setValue(param, &ListRequest::bus, bus);
}

int mrb_param_set_general_device_value(mrb_general_param_h param, int device) {
    return setValue(param, &ListRequest::device, device);
}

int mrb_param_set_general_is_uhd_meta(mrb_general_param_h param, bool is_uhd_meta) {
    return setValue(param, &ListRequest::isUhdMeta, is_uhd_meta);
}

int mrb_param_set_general_update_uhd_meta(mrb_general_param_h param, bool update) {
    return setValue(param, &ListRequest::updateUhdMeta, update);
}

int mrb_param_set_general_lang_id(mrb_general_param_h param, const char *language_id) {
    return setText(param, &ListRequest::languageId, language_id);
}

int mrb_param_set_general_duid(mrb_general_param_h param, const char *device_unique_id) {
    return setText(param, &ListRequest::deviceUniqueId, device_unique_id);
}

int mrb_param_set_general_access_token(mrb_general_param_h param, const char *access_token) {
    return setText(param, &ListRequest::accessToken, access_token);
}

int mrb_param_set_general_country(mrb_general_param_h param, const char *country) {
    return setText(param, &ListRequest::country, country);
}
