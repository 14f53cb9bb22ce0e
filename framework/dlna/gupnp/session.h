#pragma once

#include <libsoup/soup.h>

#include <atomic>
#include <memory>
#include <string>

#include "base/result.h"
#include "dlna/gupnp/gobject.h"

namespace mrb::dlna {

// Counts the open connections of a session. A session closes them asynchronously, also after
// it is destroyed: each takes a descriptor until its main context was run. Owned and
// used by the thread of the session.
class Connections {
  public:
    // `session` has not been used yet.
    explicit Connections(SoupSession *session);
    ~Connections();
    Connections(const Connections &) = delete;
    Connections &operator=(const Connections &) = delete;

    [[nodiscard]] bool areClosed() const { return *open_ == 0; }

    // Runs the thread's default main context until all of them are closed. Nothing of the
    // session may be in use any more. Returns at the latest after a few seconds, since
    // the end of an encrypted connection is a dialogue.
    void awaitClosed() const;

  private:
    // Shared with the connections, which any thread may destroy.
    using Count = std::shared_ptr<std::atomic<int>>;

    static void onQueued(SoupSession *session, SoupMessage *message, void *self);
    static void onConnection(SoupMessage *message, int event, GIOStream *connection, void *count);

    const Object<SoupSession> session_;
    const Count open_ = std::make_shared<std::atomic<int>>(0);
};

// What a request to a server must not cause: that another host is asked, or that the answer is
// compressed, since a small answer could become a large one.
void restrictRequest(SoupMessage *message);
void restrictSession(SoupSession *session);

// Whether the body of an answer is what it stands for, and is not compressed after all.
Status checkEncoding(SoupMessage *message);

// A session with servers. Owned and used by one thread, with the same default main context
// from beginning to end; once it is destroyed its connections are closed.
class Session {
  public:
    Session();
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    [[nodiscard]] SoupSession *get() const { return session_.get(); }

    // A request that asks no other host; null: that is no address of the web.
    [[nodiscard]] static Object<SoupMessage> request(const char *method, const std::string &url);

  private:
    Object<SoupSession> session_;
    std::unique_ptr<Connections> connections_;
};

} // namespace mrb::dlna
