#pragma once

#include <libsoup/soup.h>

#include <atomic>
#include <memory>
#include <string>

#include "base/result.h"
#include "dlna/gupnp/gobject.h"

namespace mrb::dlna {

// Counts the open connections of a session. A session closes them asynchronously, also after
// its destruction: each keeps its descriptor until its main context has run. Owned and
// used by the thread of the session.
class Connections {
  public:
    // `session` has not been used yet.
    explicit Connections(SoupSession *session);
    ~Connections();
    Connections(const Connections &) = delete;
    Connections &operator=(const Connections &) = delete;

    [[nodiscard]] bool areClosed() const { return *open_ == 0; }

    // Runs the thread's default main context until all of them are closed. The session must
    // not be in use any more. Returns after a few seconds at the latest, since closing an
    // encrypted connection takes round trips.
    void awaitClosed() const;

  private:
    // Shared with the connections, which any thread may destroy.
    using Count = std::shared_ptr<std::atomic<int>>;

    static void onQueued(SoupSession *session, SoupMessage *message, void *self);
    static void onConnection(SoupMessage *message, int event, GIOStream *connection, void *count);

    const Object<SoupSession> session_;
    const Count open_ = std::make_shared<std::atomic<int>>(0);
};

// Prevents requests from being redirected to another host and responses from being compressed,
// since a small response could become a large one.
void restrictRequest(SoupMessage *message);
void restrictSession(SoupSession *session);

// Checks that the body of a response is not compressed nevertheless.
Status checkEncoding(SoupMessage *message);

// An HTTP session with servers. Owned and used by one thread, with the same default main
// context throughout; after its destruction its connections are closed.
class Session {
  public:
    Session();
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    [[nodiscard]] SoupSession *get() const { return session_.get(); }

    // A request that follows no redirection to another host; null: not an HTTP URL.
    [[nodiscard]] static Object<SoupMessage> request(const char *method, const std::string &url);

  private:
    Object<SoupSession> session_;
    std::unique_ptr<Connections> connections_;
};

} // namespace mrb::dlna
