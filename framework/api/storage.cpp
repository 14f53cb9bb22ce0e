// The storage manager. It watches no devices, so no list and no record exists,
// and every getter has the answer for a field that a device lacks.

#include "mrb/storage.h"

int mrb_get_usb_list(int /*kind*/, mrb_storage_list_h * /*list*/) { return MRB_ERR_NOT_SUPPORTED; }

int mrb_get_dlna_list(mrb_storage_list_h * /*list*/) { return MRB_ERR_NOT_SUPPORTED; }

int mrb_storage_get_list_count(mrb_storage_list_h /*list*/) { return 0; }

_mrb_storage_s *mrb_storage_get_storage(int /*index*/, mrb_storage_list_h /*list*/) { return nullptr; }

int mrb_storage_list_destory(mrb_storage_list_h list) {
    return list == nullptr ? MRB_ERR_INVALID_PARAMETER : MRB_ERR_INVALID_HANDLE;
}

const char *mrb_storage_get_id(_mrb_storage_s * /*storage*/) { return ""; }

const char *mrb_storage_get_name(_mrb_storage_s * /*storage*/) { return ""; }

long long mrb_storage_get_availablesize(_mrb_storage_s * /*storage*/) { return 0; }

long long mrb_storage_get_totalsize(_mrb_storage_s * /*storage*/) { return 0; }

const char *mrb_storage_get_mountpath(_mrb_storage_s * /*storage*/) { return ""; }

int mrb_storage_get_filesystem(_mrb_storage_s * /*storage*/) { return 0; }

const char *mrb_storage_get_serialnumber(_mrb_storage_s * /*storage*/) { return ""; }

const char *mrb_storage_get_vendor(_mrb_storage_s * /*storage*/) { return ""; }

int mrb_storage_get_index(_mrb_storage_s * /*storage*/) { return 0; }

int mrb_storage_get_address(_mrb_storage_s * /*storage*/) { return 0; }

int mrb_storage_get_bus(_mrb_storage_s * /*storage*/) { return 0; }

const char *mrb_storage_get_partitionlabel(_mrb_storage_s * /*storage*/) { return ""; }

int mrb_storage_get_class(_mrb_storage_s * /*storage*/) { return 0; }

const char *mrb_storage_get_ip(_mrb_storage_s * /*storage*/) { return ""; }

bool mrb_storage_get_bOrvaneDevice(_mrb_storage_s * /*storage*/) { return false; }

int mrb_set_usb_callback(mrb_storage_notification_cb /*callback*/, void * /*user_data*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_unset_usb_callback(void) { return MRB_ERR_NOT_SUPPORTED; }

int mrb_set_dlna_callback(mrb_storage_notification_cb /*callback*/, void * /*user_data*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_unset_dlna_callback(void) { return MRB_ERR_NOT_SUPPORTED; }

int mrb_Init_dlna_service(mrb_dlna_state_cb /*callback*/, void * /*user_data*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_finalize_dlna_service(mrb_dlna_state_cb /*callback*/, void * /*user_data*/) {
    return MRB_ERR_NOT_SUPPORTED;
}
