#pragma once

namespace mrb {

class EventThread;
class MediaLibrary;
class WatchThread;
class ThreadGroup;

// The services of the process for its open lists. Owned by the SessionManager; all of them outlive
// every session, and may be called by any thread.
struct ListServices {
    EventThread &events;      // calls the lists' callbacks
    WatchThread &watchThread; // reports changes of the lists' sources
    MediaLibrary &library;    // the metadata of their items
    ThreadGroup &threads;     // threads that may wait for devices
};

} // namespace mrb
