#pragma once
// A storm of the storage manager: threads report device events and service states as
// fast as they can, to the callbacks that are registered at the moment.
//
// It fulfils the framework's contract: when a call has removed or replaced a
// registration and returned, that callback is not running and will not run. So a bridge
// that unregisters its callbacks is never called after its destruction, and one that
// does not is called with freed memory.

#include "mrb/storage.h"

namespace recording {

/// Starts a thread each for USB events, DLNA events and service states. Main thread.
void startStorm();

/// Ends them. Main thread.
void stopStorm();

/// The number of the newest event. Events are numbered from 1 through the storm,
/// and the number is the event's code. Any thread.
int stormEvent();

/// Waits until `count` more events have begun. A callback must be registered for
/// device events. Main thread.
void awaitStormEvents(int count);

// ---- for the recorded functions -----------------------------------------------

/// Replaces the callback that the storm calls; null: none. Any thread.
void setStormUsb(mrb_storage_notification_cb callback, void *user_data);
void setStormDlna(mrb_storage_notification_cb callback, void *user_data);
void setStormState(mrb_dlna_state_cb callback, void *user_data);

} // namespace recording
