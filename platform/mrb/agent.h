#pragma once
/*
 * The media framework's content agent: content lists on USB storage, DLNA
 * servers, PTP cameras and playlists.
 *
 * A list is opened with a general parameter object and named from then on by
 * its agent handle. Opening is asynchronous: mrb_request_list_v2 returns as soon
 * as the list exists, and its progress is reported through the callback.
 *
 * Threads. All functions may be called from any thread, but calls that name one
 * handle must not overlap each other. Callbacks run on a thread of the
 * framework, never inside a call of the caller; the callbacks of one list
 * never overlap and keep their order. Once mrb_disconnect_v2 has returned, no
 * callback of that list is running or will run, with two exceptions: a call from
 * inside that list's own callback returns while it still runs, and the call waits
 * two seconds at most for a running callback, which then is the last one.
 *
 * Ownership. Texts that come in are copied. Texts that go out through a
 * `char **` are allocated with the C library's malloc and become the caller's,
 * to be released with free. A function may leave the pointer untouched, and it
 * may set it even when it fails: callers preset null and test the pointer.
 * Texts are UTF-8 and end with a zero.
 *
 * Errors. Every function returns a code of result.h. An out-argument is written
 * on success; on failure it keeps the value that the caller preset, or holds a
 * text as said above.
 */

#include <stdbool.h>
#include <stdint.h>

#include "mrb/result.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- handles ------------------------------------------------------------ */

/* An open list. Positive while open; 0 names no list. 32 bits on every machine. */
typedef int32_t mrb_agent_handler_h;

/* The options of a list to open; created by mrb_create_general_param. */
typedef struct mrb_general_param_s *mrb_general_param_h;

/* A page layout; created by mrb_create_page_param. */
typedef struct mrb_page_param_s *mrb_page_param_h;

/* ---- list events -------------------------------------------------------- */

/*
 * What happened to a list or a share. The type is int, so that any value may
 * arrive from a framework newer than its client. The comment gives the number
 * under which a script sees the event ("param_event"); values without one reach
 * scripts as -1.
 */
typedef int mrb_event_e;
enum {
    MRB_EVENT_LIST_READY = 0,      /* 0: complete; every item is there */
    MRB_EVENT_LIST_FAILED = 1,     /* 1: ended early; the server data names the error */
    MRB_EVENT_SHARE_PROGRESS = 2,  /* 8: a share made progress */
    MRB_EVENT_LIST_GROWN = 3,      /* 25: more items, or the groups of more items, can be read */
    MRB_EVENT_LIST_CANCELLED = 14, /* 13: ended by mrb_cancel_request_list_v2 */
    MRB_EVENT_SHARE_STARTED = 18,  /* 17: the first event of a share */
    MRB_EVENT_SHARE_DONE = 19,     /* 18: everything arrived, and is on the device */
    MRB_EVENT_SHARE_FAILED = 20,   /* 19: not everything arrived, because of an error */
    MRB_EVENT_SHARE_STOPPED = 21,  /* 26: ended by mrb_stop_batch_process_v2 */
    MRB_EVENT_SHARE_NO_SPACE = 22, /* 27: the destination is too small; nothing was written */
    MRB_EVENT_DEVICE_REMOVED = 23, /* 28: the device that a list or share used went away */
    MRB_EVENT_LIST_CHANGED = 28    /* 29: the source changed; opening the list again is due */
};

/*
 * Reports a list event. `user_data` is what mrb_request_list_v2 was given,
 * `reserved` has no meaning, `server_data` is a JSON object as text (or null)
 * that is valid until the callback returns. The result is ignored. With the events
 * that end a list it holds "item_count", "unreadable" and "too_deep" (folders),
 * "left_out" (the number of items of the source that cannot be used)
 * and "left_out_names" (an array of texts that name the first ten of those); with
 * MRB_EVENT_LIST_FAILED also "error" and "message".
 */
typedef bool (*mrb_request_list_cb)(void *user_data, mrb_agent_handler_h agent, mrb_event_e event,
                                    int reserved, const char *server_data);

/* ---- items -------------------------------------------------------------- */

/* The kind of an item; also the value of its "MEDIA_TYPE" field. */
enum {
    MRB_ITEM_TYPE_FOLDER = 1,
    MRB_ITEM_TYPE_IMAGE = 2,
    MRB_ITEM_TYPE_VIDEO = 3,
    MRB_ITEM_TYPE_MUSIC = 5,
    MRB_ITEM_TYPE_RECORD = 6,    /* a broadcast recorded by the television */
    MRB_ITEM_TYPE_M3U = 7,       /* a playlist file */
    MRB_ITEM_TYPE_GROUP = 9,     /* a heading that stands for a group of items */
    MRB_ITEM_TYPE_UHD = 10,      /* an ultra-high-definition package */
    MRB_ITEM_TYPE_SCSA = 11,     /* a secure-content package */
    MRB_ITEM_TYPE_UPFOLDER = 13, /* leads to the enclosing folder */
    MRB_ITEM_TYPE_EMPTY = 14     /* a blank that pads a page */
};

/* ---- opening a list ----------------------------------------------------- */

/* Creates an empty parameter object in *param; released with mrb_destroy_general_param. */
int mrb_create_general_param(mrb_general_param_h *param);
int mrb_destroy_general_param(mrb_general_param_h param);

/*
 * Which media to list, and the order to list it in. Empty: all; the source's own order.
 * A sort category is "FOLDER" (the source's own order), "NAME", "DATE" (last change),
 * "SIZE" or "TYPE" (by MRB_ITEM_TYPE_), or, by fields of the same names, "TITLE",
 * "ARTIST", "ALBUM" (and track), "GENRE" or "DATE_TAKEN"; ascending as it stands and
 * descending with " DESC" or "-" behind it. In every order but "FOLDER" folders come
 * first, what has no such value comes last, and equals are in the order of their
 * names. A list is sorted when it is complete; until then it is in the source's order.
 */
int mrb_param_set_general_content_type(mrb_general_param_h param, const char *content_type);
int mrb_param_set_general_sort_category(mrb_general_param_h param, const char *sort_category);

/*
 * Filters: file name extensions ("jpg, .PNG;gif"), a text to find in names whatever
 * the case and the accents of its letters. Play data to prepare: the path or file:// URI
 * of the one playlist to list (PLAYLIST). Empty: none.
 */
int mrb_param_set_general_extension(mrb_general_param_h param, const char *extension);
int mrb_param_set_general_key_word(mrb_general_param_h param, const char *key_word);
int mrb_param_set_general_prepare_data(mrb_general_param_h param, const char *prepare_data);

/* "SOURCE_MSC", "SOURCE_DLNA", "SOURCE_PTP" or "SOURCE_PLAYLIST". */
int mrb_param_set_general_source(mrb_general_param_h param, const char *source);

/* Where: a folder path (MSC) or server id (DLNA), and a folder id (DLNA, PTP). */
int mrb_param_set_general_path(mrb_general_param_h param, const char *path);
int mrb_param_set_general_folder_id(mrb_general_param_h param, const char *folder_id);

/* Which camera (PTP): model name, USB bus and device address. */
int mrb_param_set_general_mode_name(mrb_general_param_h param, const char *model_name);
int mrb_param_set_general_bus_value(mrb_general_param_h param, int bus);
int mrb_param_set_general_device_value(mrb_general_param_h param, int device);

/* Metadata of ultra-high-definition packages (MSC), and the account to fetch it with. */
int mrb_param_set_general_is_uhd_meta(mrb_general_param_h param, bool is_uhd_meta);
int mrb_param_set_general_update_uhd_meta(mrb_general_param_h param, bool update);
int mrb_param_set_general_lang_id(mrb_general_param_h param, const char *language_id);
int mrb_param_set_general_duid(mrb_general_param_h param, const char *device_unique_id);
int mrb_param_set_general_access_token(mrb_general_param_h param, const char *access_token);
int mrb_param_set_general_country(mrb_general_param_h param, const char *country);

/*
 * Opens a list. *agent is 0 for a new list, or an open list's handle to reopen
 * that list under the same handle; on success it holds the list's handle.
 * The parameter object is read before the call returns. `callback` must not be
 * null; it is first called after the handle was written.
 */
int mrb_request_list_v2(mrb_general_param_h param, mrb_request_list_cb callback, void *user_data,
                        mrb_agent_handler_h *agent);

/*
 * Stops filling the list. Its items stay readable; MRB_EVENT_LIST_CANCELLED follows,
 * unless the list's end was reported before. Reading files for groups stops as well.
 */
int mrb_cancel_request_list_v2(mrb_agent_handler_h agent);

/* Closes the list; the handle names nothing afterwards. */
int mrb_disconnect_v2(mrb_agent_handler_h agent);

/* ---- pages, navigation, positions --------------------------------------- */

/*
 * A list is read through a view: its entries have the indexes from 0 on, and
 * counts, positions and the cursor refer to them. The view of a new list is flat
 * and holds every item that matches the filters, without pages or groups.
 */

/* How the view moves through a list's folders. */
enum {
    MRB_NAVIGATION_FLAT = 0,   /* every item of all folders */
    MRB_NAVIGATION_FOLDER = 1, /* one folder after the other, from the source's own on */
    MRB_NAVIGATION_ENTER =
        2, /* to be set only: into the folder under the cursor, or up from an up-folder entry */
    MRB_NAVIGATION_UP = 3 /* to be set only: into the enclosing folder, the cursor on the folder left */
};

/* A page style: MRB_PAGE_STYLE_LIST or _PAGED, with or without a grouping. */
enum {
    MRB_PAGE_STYLE_LIST = 0x00,       /* one entry after the other */
    MRB_PAGE_STYLE_PAGED = 0x01,      /* pages of rows and columns */
    MRB_PAGE_STYLE_GROUP_TYPE = 0x10, /* one group for each MRB_ITEM_TYPE_, in the order of their numbers */
    MRB_PAGE_STYLE_GROUP_FIRST_LETTER =
        0x20,                           /* for each first letter, alphabetically; "#" for all else, first */
    MRB_PAGE_STYLE_GROUP_DATE = 0x30,   /* for each month of last change (UTC), newest first */
    MRB_PAGE_STYLE_GROUP_FOLDER = 0x40, /* for each folder that holds items, in the source's order */
    /*
     * For each text of the field of that name, alphabetically; items without a text come
     * last, in a group without a name. The files are read in the background once the list
     * is complete, and until an item's file is read, the item is in that last group too;
     * MRB_EVENT_LIST_GROWN reports the progress, also after MRB_EVENT_LIST_READY.
     */
    MRB_PAGE_STYLE_GROUP_ARTIST = 0x50,
    MRB_PAGE_STYLE_GROUP_ALBUM = 0x60,
    MRB_PAGE_STYLE_GROUP_GENRE = 0x70
};

/* How the entries of a page run. Indexes count its cells row by row either way. */
enum {
    MRB_PAGE_ORDER_ROWS = 0,   /* along the rows */
    MRB_PAGE_ORDER_COLUMNS = 1 /* down the columns, which are balanced on the last page */
};

/* Group indexes besides those of single groups, which are shown without a heading.
 * Single groups and the headings are shown alone, without an up-folder entry. */
enum {
    MRB_GROUP_ALL = -1,     /* all groups, each behind a heading (MRB_ITEM_TYPE_GROUP) */
    MRB_GROUP_HEADINGS = -2 /* the headings alone */
};

/* The most rows of a page, and the most columns. */
enum { MRB_PAGE_MAX_ROWS = 1000 };

int mrb_create_page_param(mrb_page_param_h *param);
int mrb_destroy_page_param(mrb_page_param_h param);
int mrb_param_set_page_style_mask(mrb_page_param_h param, int page_style);
int mrb_param_set_page_style_order(mrb_page_param_h param, int order);
int mrb_param_set_page_style_group_index(mrb_page_param_h param, int group_index);
int mrb_param_set_page_style_row(mrb_page_param_h param, int rows);
int mrb_param_set_page_style_column(mrb_page_param_h param, int columns);
int mrb_param_set_page_style_padding(mrb_page_param_h param, bool need_padding);

/*
 * Lays the view out; the parameter object is read before the call returns. Rows,
 * columns, order and padding matter to MRB_PAGE_STYLE_PAGED only, where padding
 * fills the last page with entries of MRB_ITEM_TYPE_EMPTY. The group index matters
 * with a grouping; without one it must be 0 or negative. A style, order or
 * size that does not exist is MRB_ERR_INVALID_PARAMETER, a group that does not
 * exist (an empty view has no groups) MRB_ERR_OUT_OF_RANGE; the view then stays as it
 * was.
 */
int mrb_set_page_style_v2(mrb_agent_handler_h agent, mrb_page_param_h param);

/*
 * Moves the view through the folders, see MRB_NAVIGATION_. A folder's view holds
 * its sub-folders, then its files, behind an entry of MRB_ITEM_TYPE_UPFOLDER
 * unless it is the source's own or shows groups alone. A sub-folder is shown when it
 * matches the filters or something below it does. Entering an entry that is not a folder
 * is MRB_ERR_NOT_A_FOLDER; entering from an empty view, and leaving the source's own
 * folder or a flat view, is MRB_ERR_NOT_FOUND. The page style stays.
 */
int mrb_set_navigation_v2(mrb_agent_handler_h agent, int navigation);
/* MRB_NAVIGATION_FLAT or MRB_NAVIGATION_FOLDER. */
int mrb_get_navigation_v2(mrb_agent_handler_h agent, int *navigation);

/* The number of groups that the view is divided into; 0 while it is not grouped. */
int mrb_get_group_count_v2(mrb_agent_handler_h agent, int *count);

/* The number of entries that can be read now; grows until MRB_EVENT_LIST_READY. */
int mrb_get_item_count_v2(mrb_agent_handler_h agent, int *count);

/* The same for one MRB_ITEM_TYPE_: 0 for a type without items in the list. */
int mrb_get_item_count_by_type_v2(mrb_agent_handler_h agent, int type, int *count);

/* The description of the entry at `index` (from 0): a JSON object as text. */
int mrb_get_item_v2(mrb_agent_handler_h agent, int index, char **item);

/*
 * Moves the list's cursor to the entry at `index`; field calls refer to that item.
 * The cursor stays on its entry when the view changes; when the view does not show
 * that entry any more, and initially, it is on the first entry.
 */
int mrb_move_to_index_v2(mrb_agent_handler_h agent, int index);

/*
 * The page (from 0) of the item with that "media_id". Without pages each entry
 * is a page of its own. MRB_ERR_NOT_FOUND: the view does not show it.
 */
int mrb_get_page_index_v2(mrb_agent_handler_h agent, const char *media_id, int *page_index);

/*
 * What a player needs to play the item under the cursor, and the item's rating: JSON
 * objects as text. MRB_ERR_NOT_SUPPORTED: a folder, heading or blank cannot be
 * played; MRB_ERR_NOT_FOUND: the view is empty.
 */
int mrb_prepare_play_data_v2(mrb_agent_handler_h agent, char **play_data);
int mrb_get_rating_info_v2(mrb_agent_handler_h agent, char **rating);

/*
 * The id of the storage that holds the existing absolute path `mount_path`, usually
 * a mount point. It is the file system's UUID if the system has one; else a text
 * built from the mount's type, source and mount point, which is the same as long as the
 * storage is mounted in the same way. MRB_ERR_TIMEOUT: the storage that holds the path
 * does not respond within 100 ms.
 */
int mrb_get_storage_id_v2(const char *mount_path, char **storage_id);

/* ---- fields of the item under the cursor -------------------------------- */

/* `field` is a field name such as "TITLE"; each name belongs to one value type. */
int mrb_get_item_value_lint_v2(mrb_agent_handler_h agent, const char *field, long long *value);
int mrb_get_item_value_double_v2(mrb_agent_handler_h agent, const char *field, double *value);
int mrb_get_item_value_time_v2(mrb_agent_handler_h agent, const char *field, int *value);
int mrb_get_item_value_char_v2(mrb_agent_handler_h agent, const char *field, char **value);
int mrb_get_item_value_int_v2(mrb_agent_handler_h agent, const char *field, int *value);
int mrb_get_item_value_bool_v2(mrb_agent_handler_h agent, const char *field, bool *value);
int mrb_set_item_value_char_v2(mrb_agent_handler_h agent, const char *field, const char *value);
int mrb_set_item_value_int_v2(mrb_agent_handler_h agent, const char *field, int value);

/* ---- selection ---------------------------------------------------------- */

/*
 * An item is selected or not, whichever view shows it: paging, grouping, navigation
 * and the sorting at a list's end leave the selection as it is, and items that the
 * view does not show stay selected. A list begins with nothing selected, also one
 * that is reopened under the same handle. Indexes are those of the view.
 */

/* Selects every item that the view shows, in addition to those selected already. */
int mrb_select_all_v2(mrb_agent_handler_h agent);
/* Empties the selection, of items that the view does not show as well. */
int mrb_deselect_all_v2(mrb_agent_handler_h agent);

/*
 * Selects or deselects the items of a group, from 0, shown or not.
 * MRB_ERR_OUT_OF_RANGE: no such group, or the view is not grouped.
 */
int mrb_select_group_v2(mrb_agent_handler_h agent, int group_index);
int mrb_deselect_group_v2(mrb_agent_handler_h agent, int group_index);

/*
 * For a heading: whether all items of its group are selected. Up-folder entries and
 * blanks never are.
 */
int mrb_get_selected_state_v2(mrb_agent_handler_h agent, int index, bool *selected);

/* The number of selected items, shown or not. */
int mrb_get_selection_count_v2(mrb_agent_handler_h agent, int *count);

/* MRB_ERR_NOT_SUPPORTED: a heading, up-folder entry or blank cannot be selected. */
int mrb_toggle_select_v2(mrb_agent_handler_h agent, int index);

#ifdef __cplusplus
} /* extern "C" */
#endif
