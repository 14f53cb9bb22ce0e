#include "dlna/gupnp/session.h"

#include <chrono>

#include "base/c_callback.h"
#include "dlna/gupnp/main_context.h"

namespace mrb::dlna {

Connections::Connections(SoupSession *session) : session_(share(session)) {
    g_signal_connect(session, "request-queued", G_CALLBACK(cCallback<onQueued>), this);
}

Connections::~Connections() { g_signal_handlers_disconnect_by_data(session_.get(), this); }

void Connections::onQueued(SoupSession * /*session*/, SoupMessage *message, void *self) {
    const auto &connections = *static_cast<const Connections *>(self);
    g_signal_connect_data(
        message, "network-event", G_CALLBACK(cCallback<onConnection>), new Count(connections.open_),
        [](gpointer count, GClosure * /*closure*/) { delete static_cast<Count *>(count); }, GConnectFlags(0));
}

void Connections::onConnection(SoupMessage * /*message*/, int event, GIOStream *connection, void *count) {
    if (event != G_SOCKET_CLIENT_CONNECTING || connection == nullptr) {
        return;
    }
    const Count &open = *static_cast<const Count *>(count);
    ++*open;
    g_object_weak_ref(
        G_OBJECT(connection),
        [](gpointer held, GObject * /*connection*/) {
            const std::unique_ptr<Count> own(static_cast<Count *>(held));
            --**own;
        },
        new Count(open));
}

void Connections::awaitClosed() const {
    constexpr auto TIMEOUT = std::chrono::seconds(3);
    runContext([this] { return areClosed(); }, TIMEOUT);
}

void restrictRequest(SoupMessage *message) {
    soup_message_add_flags(message, SOUP_MESSAGE_NO_REDIRECT);
    soup_message_headers_replace(soup_message_get_request_headers(message), "Accept-Encoding", "identity");
}

void restrictSession(SoupSession *session) {
    // Servers of the local network are reached without a proxy.
    g_object_set(session, "proxy-resolver", nullptr, nullptr);
    soup_session_remove_feature_by_type(session, SOUP_TYPE_CONTENT_DECODER);
}

Status checkEncoding(SoupMessage *message) {
    SoupMessageHeaders *headers = soup_message_get_response_headers(message);
    const char *encoding = soup_message_headers_get_list(headers, "Content-Encoding");
    if (encoding == nullptr || *encoding == '\0' || g_ascii_strcasecmp(encoding, "identity") == 0) {
        return {};
    }
    const Text valid(g_utf8_make_valid(encoding, -1));
    return Status::protocolError(std::string("The server's response is encoded as \"") + valid.get() +
                                 "\", which was not requested.");
}

Session::Session() : session_(soup_session_new()) {
    restrictSession(session_.get());
    connections_ = std::make_unique<Connections>(session_.get());
}

Session::~Session() {
    soup_session_abort(session_.get());
    connections_->awaitClosed();
}

Object<SoupMessage> Session::request(const char *method, const std::string &url) {
    Object<SoupMessage> message(soup_message_new(method, url.c_str()));
    if (message) {
        restrictRequest(message.get());
    }
    return message;
}

} // namespace mrb::dlna
