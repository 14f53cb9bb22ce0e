#pragma once

#include <libsoup/soup.h>

#include <chrono>
#include <cstddef>
#include <list>

#include "dlna/gupnp/gobject.h"
#include "dlna/gupnp/session.h"

namespace mrb::dlna {

// Limits the descriptions of devices. GUPnP reads each of them whole, however long it is
// and however slowly it arrives, and from any host that it is redirected to: a connection
// that delivers too much, or takes too long, is shut down, and no redirection is followed.
// Owned by the watch of the network; its thread alone uses it.
class DescriptionFilter {
  public:
    static constexpr std::size_t MAX_BYTES = 1UL << 20;
    static constexpr auto TIMEOUT = std::chrono::seconds(20);

    // `session` is that of a GUPnP context, before its first use.
    explicit DescriptionFilter(SoupSession *session);
    ~DescriptionFilter();
    DescriptionFilter(const DescriptionFilter &) = delete;
    DescriptionFilter &operator=(const DescriptionFilter &) = delete;

    // Cancels the requests under way; the main context has to run until isIdle().
    void cancel();
    // No request is under way, and every connection is closed.
    [[nodiscard]] bool isIdle() const { return requests_.empty() && connections_.areClosed(); }

  private:
    // A request under way.
    struct Request {
        DescriptionFilter &owner;
        Object<SoupMessage> message;
        std::chrono::steady_clock::time_point began;
        Object<GSocket> socket; // null: not connected yet
        GSource *timer = nullptr;
    };

    static void onQueued(SoupSession *session, SoupMessage *message, void *self);
    static void onConnection(SoupMessage *message, int event, GIOStream *connection, void *request);
    static void onFinished(SoupMessage *message, void *request);
    static gboolean look(void *request);
    void forget(Request &request);

    const Object<SoupSession> session_;
    const Connections connections_;
    std::list<Request> requests_;
};

} // namespace mrb::dlna
