#pragma once
/*
 * The media framework's storage manager: attached USB storage, PTP cameras and
 * DLNA servers, their arrival and removal, and the DLNA service's life.
 *
 * Threads. Functions may be called from any thread. Callbacks run on threads of
 * the framework, or inside mrb_finalize_dlna_service on its caller's thread when
 * those are busy. Once an unset or finalize call has returned, no callback that
 * it removed is running or will run; a call from inside that very callback returns
 * while the callback still runs. It waits two seconds for a running callback:
 * MRB_ERR_TIMEOUT says that it still runs, so that its user data must stay.
 *
 * Ownership. A list and its records belong to the framework until
 * mrb_storage_list_destory; texts that getters return are valid as long as their
 * record. A record passed to a callback is valid until the callback returns.
 * Getters never return a null text: a device that lacks a field has an empty
 * one, and 0 for a number.
 */

#include <stdbool.h>
#include <stdint.h>

#include "mrb/result.h"

#ifdef __cplusplus
extern "C" {
/* A record is passed to callbacks by reference, which is a pointer to C. */
#define MRB_REFERENCE &/* NOLINT(bugprone-macro-parentheses): part of a declaration */
#else
#define MRB_REFERENCE * /* NOLINT(bugprone-macro-parentheses): part of a declaration */
#endif

/* One device. Opaque: read through the getters. */
/* NOLINTNEXTLINE(bugprone-reserved-identifier): the framework's own name */
typedef struct _mrb_storage_s _mrb_storage_s;

/* A list of devices. Opaque. */
typedef struct mrb_storage_list_s *mrb_storage_list_h;

/* Which devices mrb_get_usb_list lists. */
enum { MRB_STORAGE_KIND_USB = 1, MRB_STORAGE_KIND_PTP = 2 };

/* What happened to a device. The type is int: any value may arrive. */
typedef int mrb_storage_event_e;
enum {
    MRB_STORAGE_EVENT_ADDED = 0,   /* it is in the list from now on */
    MRB_STORAGE_EVENT_REMOVED = 1, /* it is not any more; the record is the last one known */
    MRB_STORAGE_EVENT_CHANGED = 2  /* its record changed, as when it is mounted or unmounted,
                                      or when a camera has reported its capacity */
};

/* mrb_storage_get_filesystem. */
enum {
    MRB_FILE_SYSTEM_UNKNOWN = 0,
    MRB_FILE_SYSTEM_FAT = 1,
    MRB_FILE_SYSTEM_EXFAT = 2,
    MRB_FILE_SYSTEM_NTFS = 3,
    MRB_FILE_SYSTEM_EXT2 = 4,
    MRB_FILE_SYSTEM_EXT3 = 5,
    MRB_FILE_SYSTEM_EXT4 = 6,
    MRB_FILE_SYSTEM_BTRFS = 7,
    MRB_FILE_SYSTEM_XFS = 8,
    MRB_FILE_SYSTEM_F2FS = 9,
    MRB_FILE_SYSTEM_HFS = 10, /* HFS and HFS+ */
    MRB_FILE_SYSTEM_APFS = 11,
    MRB_FILE_SYSTEM_ISO9660 = 12,
    MRB_FILE_SYSTEM_UDF = 13,
    MRB_FILE_SYSTEM_TMPFS = 14
};

/* mrb_storage_get_class: the class code of a USB interface, or one above 255. */
enum {
    MRB_STORAGE_CLASS_NONE = 0,         /* not attached by USB */
    MRB_STORAGE_CLASS_CAMERA = 6,       /* still image */
    MRB_STORAGE_CLASS_MASS_STORAGE = 8, /* mass storage */
    MRB_STORAGE_CLASS_FOLDER = 256      /* a folder that stands for a device */
};

/* State of the DLNA service connector. The type is int: any value may arrive. */
typedef int mrb_asf_serviceconnector_state_e;
enum { MRB_SERVICE_STATE_STOPPED = 0, MRB_SERVICE_STATE_STARTED = 1, MRB_SERVICE_STATE_FAILED = 2 };

typedef void (*mrb_storage_notification_cb)(void *user_data, mrb_storage_event_e event,
                                            _mrb_storage_s *MRB_REFERENCE storage);

/* Note the order: here the user data comes last. */
typedef void (*mrb_dlna_state_cb)(mrb_asf_serviceconnector_state_e state, void *user_data);

/* ---- lists -------------------------------------------------------------- */

/*
 * On success *list must be released with mrb_storage_list_destory. The list holds the devices
 * attached before the call, as far as the system and the devices report them within 100 ms (in
 * a process's first call: a second); else it holds those known before, and a device that is
 * found later causes an MRB_STORAGE_EVENT_ADDED.
 */
int mrb_get_usb_list(int kind, mrb_storage_list_h *list);
int mrb_get_dlna_list(mrb_storage_list_h *list);

int mrb_storage_get_list_count(mrb_storage_list_h list);

/* The record at `index` (from 0). Note the order: index first, list second. */
_mrb_storage_s *mrb_storage_get_storage(int index, mrb_storage_list_h list);

int mrb_storage_list_destory(mrb_storage_list_h list);

/* ---- a record's fields -------------------------------------------------- */

const char *mrb_storage_get_id(_mrb_storage_s *storage);
const char *mrb_storage_get_name(_mrb_storage_s *storage);
/* In bytes. Both 0: not known. A list does not wait for a camera: its sizes are not known until
 * it has reported them, which causes an MRB_STORAGE_EVENT_CHANGED. */
long long mrb_storage_get_availablesize(_mrb_storage_s *storage);
long long mrb_storage_get_totalsize(_mrb_storage_s *storage);
const char *mrb_storage_get_mountpath(_mrb_storage_s *storage); /* empty: not mounted */
int mrb_storage_get_filesystem(_mrb_storage_s *storage);        /* MRB_FILE_SYSTEM_... */
const char *mrb_storage_get_serialnumber(_mrb_storage_s *storage);
const char *mrb_storage_get_vendor(_mrb_storage_s *storage);
int mrb_storage_get_index(_mrb_storage_s *storage);   /* from 0, the device's own while it is attached */
int mrb_storage_get_address(_mrb_storage_s *storage); /* on the USB bus */
int mrb_storage_get_bus(_mrb_storage_s *storage);     /* the USB bus */
const char *mrb_storage_get_partitionlabel(_mrb_storage_s *storage);
int mrb_storage_get_class(_mrb_storage_s *storage); /* MRB_STORAGE_CLASS_... */
const char *mrb_storage_get_ip(_mrb_storage_s *storage);
bool mrb_storage_get_bOrvaneDevice(_mrb_storage_s *storage);

/* ---- notifications and the DLNA service --------------------------------- */

/*
 * One callback each; setting another replaces it, and returns when the one before
 * is not running any more. A callback receives the events from its registration on:
 * set it first and list afterwards, and no device is missed. Unsetting a callback that
 * is not set succeeds.
 */
int mrb_set_usb_callback(mrb_storage_notification_cb callback, void *user_data);
int mrb_unset_usb_callback(void);
int mrb_set_dlna_callback(mrb_storage_notification_cb callback, void *user_data);
int mrb_unset_dlna_callback(void);

/*
 * The service runs from the first client's init to the last one's finalize; a client is
 * a callback with its user data. Its callback receives every change of state, also that of
 * its own finalize, which returns when the callback has received MRB_SERVICE_STATE_STOPPED;
 * MRB_ERR_NOT_INITIALIZED when there is no such client. A list of servers needs the service
 * too.
 */
int mrb_Init_dlna_service(mrb_dlna_state_cb callback, void *user_data);
int mrb_finalize_dlna_service(mrb_dlna_state_cb callback, void *user_data);

#ifdef __cplusplus
} /* extern "C" */
#endif
