// The recorded storage manager.

#include "mrb/storage.h"

#include "callbacks.h"
#include "function.h"
#include "storm.h"

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

// Records a registration for tests to fire at (`add`), and passes it to the storm.
#define REGISTERS(name, type, add, set_storm)                                                                \
    static recording::Function name##_recorded(#name);                                                       \
    extern "C" int name(type callback, void *user_data) {                                                    \
        recording::add(callback, user_data);                                                                 \
        recording::set_storm(callback, user_data);                                                           \
        return name##_recorded.call<int>(callback, UserData{user_data});                                     \
    }

#define UNREGISTERS(name, set_storm)                                                                         \
    static recording::Function name##_recorded(#name);                                                       \
    extern "C" int name() {                                                                                  \
        recording::set_storm(nullptr, nullptr);                                                              \
        return name##_recorded.call<int>();                                                                  \
    }

REGISTERS(mrb_set_usb_callback, mrb_storage_notification_cb, addUsb, setStormUsb)
UNREGISTERS(mrb_unset_usb_callback, setStormUsb)
REGISTERS(mrb_set_dlna_callback, mrb_storage_notification_cb, addDlna, setStormDlna)
UNREGISTERS(mrb_unset_dlna_callback, setStormDlna)
REGISTERS(mrb_Init_dlna_service, mrb_dlna_state_cb, addDlnaState, setStormState)

// The callback receives the stop, and nothing once the call has returned.
static recording::Function mrb_finalize_dlna_service_recorded("mrb_finalize_dlna_service");
extern "C" int mrb_finalize_dlna_service(mrb_dlna_state_cb callback, void *user_data) {
    recording::addDlnaState(callback, user_data);
    recording::setStormState(callback, user_data);
    const int result = mrb_finalize_dlna_service_recorded.call<int>(callback, UserData{user_data});
    recording::setStormState(nullptr, nullptr);
    return result;
}
