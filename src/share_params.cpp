#include "share_params.h"

#include <string>

#include "request.h"

namespace MRBBridge {

void SetShareParams(mrb_share_param_h param, int share_type, const CMRBBridgeJson &request) {
    switch (share_type) {
    case MRB_SHARE_DELETE:
        mrb_param_set_share_source_dev_type(param, Int(request, "param_source_device_type"));
        break;
    case MRB_SHARE_COPY: {
        const int source = Int(request, "param_source_device_type");
        const int destination = Int(request, "param_dest_device_type");
        const std::string path = Text(request, "param_dest_device_path");
        mrb_param_set_share_source_dev_type(param, source);
        mrb_param_set_share_dest_dev_type(param, destination);
        mrb_param_set_share_dest_dev_path(param, path.c_str());
        break;
    }
    case MRB_SHARE_DLNA: {
        const int source = Int(request, "param_source_device_type");
        const int destination = Int(request, "param_dest_device_type");
        const std::string device_id = Text(request, "param_dlna_device_id");
        mrb_param_set_share_source_dev_type(param, source);
        mrb_param_set_share_dest_dev_type(param, destination);
        mrb_param_set_share_dlna_device_id(param, device_id.c_str());
        if (source == MRB_SHARE_DEVICE_DLNA) {
            mrb_param_set_share_dest_dev_path(param, Text(request, "param_dest_device_path").c_str());
        } else {
            mrb_param_set_share_dlna_service_provider(param,
                                                      Text(request, "param_dlna_service_provider").c_str());
        }
        break;
    }
    case MRB_SHARE_LOCK:
        mrb_param_set_share_lock(param, Bool(request, "param_is_lock"));
        break;
    default:
        break;
    }
}

} // namespace MRBBridge
