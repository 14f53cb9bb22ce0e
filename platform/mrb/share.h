#pragma once
/*
 * The media framework's batch share process: copying, sending or locking the
 * selected items of an open list.
 *
 * A share is started with a share parameter object and a user-data parameter
 * object (its callback), runs in the background under a share handle, and
 * reports its progress through the callback. It begins with MRB_EVENT_SHARE_STARTED,
 * reports MRB_EVENT_SHARE_PROGRESS at most ten times a second, and ends with exactly
 * one of MRB_EVENT_SHARE_DONE, _FAILED, _STOPPED, _NO_SPACE and
 * MRB_EVENT_DEVICE_REMOVED. It works on the selection at its start, and continues
 * when its list is changed, reopened or closed.
 *
 * Threads. As in agent.h: functions on any thread, callbacks on a thread of the
 * framework, in order and never overlapping for one share.
 *
 * Ownership. The caller destroys the share parameter object after the start. The
 * user-data parameter object passes to the framework with mrb_batch_process_v2,
 * whatever that call returns; the caller must not release it.
 */

#include "mrb/agent.h"
#include "mrb/layout.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * A running share, until its last event was delivered. Positive; 0 is not a share,
 * and no list has the same number. 32 bits on every machine.
 */
typedef int32_t mrb_share_handler_h;

typedef struct mrb_share_param_s *mrb_share_param_h;
typedef struct mrb_share_user_data_param_s *mrb_share_user_data_param_h;

/* What a share does with the selection. Other numbers return MRB_ERR_NOT_SUPPORTED. */
enum {
    MRB_SHARE_DELETE = 1, /* refused by this framework: it never deletes a user's files */
    MRB_SHARE_COPY = 2,   /* to a folder of another device */
    MRB_SHARE_DLNA = 4,   /* to a DLNA server, or from one when the source device type is 4 */
    MRB_SHARE_LOCK = 32   /* marks or unmarks the items as locked, until the process ends */
};

/*
 * A share with a DLNA server names it by its id, or by its address if only one server
 * has that. From a server, the selected items of its list go to the destination path; to
 * a server, the selected files of a folder's list go to the container that the service
 * provider names, or to one that the server chooses.
 * MRB_ERR_NOT_INITIALIZED: the DLNA service does not run; MRB_ERR_NOT_FOUND: it does not
 * know the server; MRB_ERR_INVALID_PARAMETER: the list does not belong to the server.
 */

/* Device types named in share parameters. */
enum { MRB_SHARE_DEVICE_DLNA = 4 };

/* Bytes kept for the file name of a progress record, its ending zero included. */
enum { MRB_SHARE_FILE_NAME_BYTES = 1024 };

/*
 * Progress of a share. Counts are files, sizes are bytes. Until the last event, done
 * counts what was written; in the last one, what arrived permanently, and the name is
 * that of the first file that did not arrive, if any. Names are UTF-8, cut off when
 * they are too long. The total of bytes done is the sum of success_file_size and
 * progress_file_size.
 */
typedef struct mrb_share_status_info_s {
    uint32_t total_file_count;
    uint32_t done_file_count;
    uint64_t total_file_size;
    uint64_t success_file_size;
    uint64_t current_file_size;
    uint64_t progress_file_size; /* bytes done of the current file */
    char current_file_name[MRB_SHARE_FILE_NAME_BYTES];
} mrb_share_status_info_s;

MRB_CHECK_OFFSET(mrb_share_status_info_s, total_file_count, 0);
MRB_CHECK_OFFSET(mrb_share_status_info_s, done_file_count, 4);
MRB_CHECK_OFFSET(mrb_share_status_info_s, total_file_size, 8);
MRB_CHECK_OFFSET(mrb_share_status_info_s, success_file_size, 16);
MRB_CHECK_OFFSET(mrb_share_status_info_s, current_file_size, 24);
MRB_CHECK_OFFSET(mrb_share_status_info_s, progress_file_size, 32);
MRB_CHECK_OFFSET(mrb_share_status_info_s, current_file_name, 40);

/* Reports progress; `status` is valid until the callback returns. The result is ignored. */
typedef bool (*mrb_batch_process_cb)(void *user_data, mrb_share_handler_h share, mrb_event_e event,
                                     mrb_share_status_info_s *status);

int mrb_create_share_param(mrb_share_param_h *param);
int mrb_destroy_share_param(mrb_share_param_h param);
int mrb_param_set_share_source_dev_type(mrb_share_param_h param, int device_type);
int mrb_param_set_share_dest_dev_type(mrb_share_param_h param, int device_type);
int mrb_param_set_share_dest_dev_path(mrb_share_param_h param, const char *path);
int mrb_param_set_share_dlna_device_id(mrb_share_param_h param, const char *device_id);
int mrb_param_set_share_dlna_service_provider(mrb_share_param_h param, const char *provider);
int mrb_param_set_share_lock(mrb_share_param_h param, bool lock);

int mrb_create_share_user_data_param(mrb_share_user_data_param_h *param);
int mrb_param_set_share_user_data_udata(mrb_share_user_data_param_h param, void *user_data);
int mrb_param_set_share_user_data_cb(mrb_share_user_data_param_h param, mrb_batch_process_cb callback);

/*
 * Starts a share of `agent`'s selection; on success *share is its handle, written
 * before the first event. MRB_ERR_NOT_FOUND: nothing is selected, or there is no such
 * destination. A copy's destination is checked before the call returns.
 */
int mrb_batch_process_v2(int share_type, mrb_share_param_h param, mrb_agent_handler_h agent,
                         mrb_share_user_data_param_h user_data_param, mrb_share_handler_h *share);

/*
 * Stops a share; MRB_EVENT_SHARE_STOPPED follows and no half-written file stays. A
 * share that has completed its work by then ends as without the stop. May be called
 * from inside the share's callback.
 */
int mrb_stop_batch_process_v2(mrb_share_handler_h share);

#ifdef __cplusplus
} /* extern "C" */
#endif
