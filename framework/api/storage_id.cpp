// The id of a storage.

#include "storage/storage_id.h"

#include "api/c_api.h"
#include "mrb/agent.h"

int mrb_get_storage_id_v2(const char *mount_path, char **storage_id) {
    if (mount_path == nullptr || storage_id == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::guard([&] {
        std::string id;
        const mrb::Status status = mrb::readStorageIdInTime(mount_path, id);
        if (!status.ok()) {
            MRB_LOG_WARNING("No storage id: %s", status.message.c_str());
            return status.code;
        }
        return mrb::copyToCaller(id, storage_id);
    });
}
