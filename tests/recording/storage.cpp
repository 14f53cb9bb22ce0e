// The recorded storage manager.

#include "mrb/storage.h"

#include "callbacks.h"
#include "function.h"

using recording::NewHandle;
using recording::Reply;
using recording::UserData;

RECORDED(int, mrb_get_usb_list, (int kind, mrb_storage_list_h *list), (kind, list), Reply{{}, NewHandle{}})
RECORDED(int, mrb_get_dlna_list, (mrb_storage_list_h * list), (list), Reply{{}, NewHandle{}})
RECORDED(int, mrb_storage_get_list_count, (mrb_storage_list_h list), (list))
RECORDED(_mrb_storage_s *, mrb_storage_get_storage, (int index, mrb_storage_list_h list), (index, list))
RECORDED(int, mrb_storage_list_destory, (mrb_storage_list_h list), (list))

#define GETTER(type, name)                                                                                   \
    static recording::Function name##_recorded("mrb_storage_get_" #name);                                    \
    extern "C" type mrb_storage_get_##name(_mrb_storage_s *storage) {                                        \
        return name##_recorded.callGetter<type>(storage);                                                    \
    }

GETTER(const char *, id)
GETTER(const char *, name)
GETTER(long long, availablesize)
GETTER(long long, totalsize)
GETTER(const char *, mountpath)
GETTER(int, filesystem)
GETTER(const char *, serialnumber)
GETTER(const char *, vendor)
GETTER(int, index)
GETTER(int, address)
GETTER(int, bus)
GETTER(const char *, partitionlabel)
GETTER(int, class)
GETTER(const char *, ip)
GETTER(bool, bOrvaneDevice)

#define REGISTERS(name, type, add)                                                                           \
    static recording::Function name##_recorded(#name);                                                       \
    extern "C" int name(type callback, void *user_data) {                                                    \
        recording::add(callback, user_data);                                                                 \
        return name##_recorded.call<int>(callback, UserData{user_data});                                     \
    }

REGISTERS(mrb_set_usb_callback, mrb_storage_notification_cb, addUsb)
RECORDED(int, mrb_unset_usb_callback, (), ())
REGISTERS(mrb_set_dlna_callback, mrb_storage_notification_cb, addDlna)
RECORDED(int, mrb_unset_dlna_callback, (), ())
REGISTERS(mrb_Init_dlna_service, mrb_dlna_state_cb, addDlnaState)
REGISTERS(mrb_finalize_dlna_service, mrb_dlna_state_cb, addDlnaState)
