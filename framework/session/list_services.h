#pragma once

namespace mrb {

class EventThread;
class MediaLibrary;
class Watcher;
class ThreadGroup;

// What the process has for its open lists. Owned by the Framework; all of it outlives every
// session, and may be called by any thread.
struct ListServices {
    EventThread &events;   // calls the lists' callbacks
    Watcher &watcher;      // waits for changes of what lists were read from
    MediaLibrary &library; // the metadata of their items
    ThreadGroup &workers;  // threads that may wait for devices
};

} // namespace mrb
