#pragma once

#include <gio/gio.h>
#include <libsoup/soup.h>

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "dlna/gupnp/gobject.h"
#include "dlna/gupnp/pending.h"
#include "dlna/gupnp/session.h"

namespace mrb::dlna {

// A call of an action or a request for a file, ready to be sent.
struct Call {
    std::string server; // its id
    std::string url;    // where the service takes calls, or the file's
    std::string action; // "urn:...:1#Browse"; empty: no call
    std::string envelope;
    std::size_t most; // bytes of the answer
};

// The calls that are under way. GUPnP's own calls would take whatever a server sends,
// however long it is, wherever it comes from: these read no more than they should,
// follow no redirect and unpack nothing. Owned and called by one thread, in whose main
// context they go on.
class Exchanges {
  public:
    Exchanges();
    ~Exchanges();
    Exchanges(const Exchanges &) = delete;
    Exchanges &operator=(const Exchanges &) = delete;

    // `pending` will be finished, if not before, when this is destroyed.
    void begin(const Call &call, std::shared_ptr<Pending> pending);

    // Gives a call up, whose reply nobody waits for any more.
    void abandon(const Pending &pending);

    // Gives up those to servers that do not satisfy `isThere`: these are gone.
    template <typename IsThere>
    void keep(IsThere isThere) {
        for (const auto &each : running_) {
            if (!isThere(serverOf(*each))) {
                cancel(*each, Status::deviceRemoved("The server is gone."));
            }
        }
    }

  private:
    struct Running;

    static const std::string &serverOf(const Running &running);
    static void cancel(Running &running, Status why);
    static void onSent(GObject *session, GAsyncResult *result, void *running);
    static void onRead(GObject *stream, GAsyncResult *result, void *running);
    static void readOn(Running &running);
    static void fail(Running &running, const GError &error);
    static void end(Running &running, Status outcome);

    const Session session_;
    std::list<std::unique_ptr<Running>> running_;
};

} // namespace mrb::dlna
