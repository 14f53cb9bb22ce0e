#pragma once
/*
 * Result codes of the media framework.
 *
 * Every framework function that returns `int` returns one of these unless its
 * own comment says otherwise. Codes reach scripts unchanged, as
 * "return_ecode". The framework's own failures are negative, so that they never
 * collide with 1 and 2, which the script bridge reserves for its own refusals.
 */

enum {
    MRB_ERR_NONE = 0,               /* success */
    MRB_ERR_INVALID_PARAMETER = -1, /* an argument is null, empty or malformed */
    MRB_ERR_INVALID_HANDLE = -2,    /* the handle is not an open list, share or object */
    MRB_ERR_OUT_OF_RANGE = -3,      /* an index is negative or past the end */
    MRB_ERR_NOT_FOUND = -4,         /* the file, folder, device or item does not exist */
    MRB_ERR_NOT_SUPPORTED = -5,     /* this framework does not support the request */
    MRB_ERR_PERMISSION_DENIED = -6, /* the system does not let this process read or write there */
    MRB_ERR_NOT_A_FOLDER = -7,      /* the path names something that is not a folder */
    MRB_ERR_IO = -8,                /* the device failed while reading or writing */
    MRB_ERR_OUT_OF_MEMORY = -9,     /* not enough memory, or a bound on memory was reached */
    MRB_ERR_CANCELLED = -10,        /* ended by a cancel, stop or disconnect */
    MRB_ERR_DEVICE_REMOVED = -11,   /* the device or server went away */
    MRB_ERR_NO_SPACE = -12,         /* the destination has too little free space */
    MRB_ERR_TIMEOUT = -13,          /* the device or server did not respond in time */
    MRB_ERR_PROTOCOL = -14,         /* the device or server sent a malformed response */
    MRB_ERR_BUSY = -15,             /* the device is held by another program */
    MRB_ERR_NOT_INITIALIZED = -16,  /* the service was not started */
    MRB_ERR_CORRUPT = -17           /* the media file is damaged */
};
