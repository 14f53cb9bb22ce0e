#pragma once
// A storage manager in a storm: device events and service states as fast as threads
// can make them, for whatever callbacks are registered at the moment.
//
// It keeps the promise of the framework's contract: when a call has removed or
// replaced a registration and returned, that callback is not running and will not
// run. So a bridge that keeps its own promises is never called when it is gone, and
// one that does not is called with memory that is not there any more.

#include "mrb/storage.h"

namespace recording {

/// Starts a thread each for USB events, DLNA events and service states. Main thread.
void startStorm();

/// Ends them. Main thread.
void stopStorm();

/// The number of the newest event. Events are numbered from 1 through the storm,
/// and the number is the event's code. Any thread.
int stormEvent();

/// Waits until `count` more events are under way. Something must be registered for
/// device events. Main thread.
void awaitStormEvents(int count);

// ---- for the recorded functions -----------------------------------------------

/// Registers what the storm calls from now on; null: nothing. Any thread.
void setStormUsb(mrb_storage_notification_cb callback, void *user_data);
void setStormDlna(mrb_storage_notification_cb callback, void *user_data);
void setStormState(mrb_dlna_state_cb callback, void *user_data);

} // namespace recording
