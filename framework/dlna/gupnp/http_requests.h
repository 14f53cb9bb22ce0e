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

// A SOAP call or a request for a file, ready to be sent.
struct Call {
    std::string server; // its id
    std::string url;    // the service's control URL, or the file's
    std::string action; // "urn:...:1#Browse"; empty: a file
    std::string envelope;
    std::size_t maximum; // maximum bytes of the response
};

// The HTTP requests under way. GUPnP's own calls would read whatever a server sends, of any
// length and from any host: these read no more than `most` bytes, follow no redirect and
// decode nothing. Owned and called by one thread, whose main context processes them.
class HttpRequests {
  public:
    HttpRequests();
    ~HttpRequests();
    HttpRequests(const HttpRequests &) = delete;
    HttpRequests &operator=(const HttpRequests &) = delete;

    // `pending` is finished when this is destroyed at the latest.
    void begin(const Call &call, std::shared_ptr<Pending> pending);

    // Cancels a call whose reply is not needed any more.
    void abandon(const Pending &pending);

    // Cancels the calls to servers that do not satisfy `isThere`: these are gone.
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
    template <typename Step>
    static void proceed(Running &running, Step step) noexcept;
    static void readOn(Running &running);
    static void fail(Running &running, const GError &error);
    static void end(Running &running, Status status);

    const Session session_;
    std::list<std::unique_ptr<Running>> running_;
};

} // namespace mrb::dlna
