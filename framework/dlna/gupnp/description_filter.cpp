#include "dlna/gupnp/description_filter.h"

#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "base/c_callback.h"
#include "base/log.h"

namespace mrb::dlna {
namespace {

using std::chrono::steady_clock;

constexpr guint LOOK_MILLISECONDS = 50;

// Bytes received over the connection so far, as counted by the kernel.
std::uint64_t bytesReceived(GSocket *socket) {
    tcp_info info{};
    socklen_t length = sizeof info;
    const bool isKnown = getsockopt(g_socket_get_fd(socket), IPPROTO_TCP, TCP_INFO, &info, &length) == 0;
    return isKnown ? info.tcpi_bytes_received : 0;
}

} // namespace

DescriptionFilter::DescriptionFilter(SoupSession *session) : session_(share(session)), connections_(session) {
    restrictSession(session);
    // One connection per request, so that its byte count is that of the description.
    g_signal_connect(session, "request-queued", G_CALLBACK(cCallback<onQueued>), this);
}

DescriptionFilter::~DescriptionFilter() {
    g_signal_handlers_disconnect_by_data(session_.get(), this);
    while (!requests_.empty()) {
        forget(requests_.back());
    }
}

void DescriptionFilter::cancel() { soup_session_abort(session_.get()); }

void DescriptionFilter::onQueued(SoupSession * /*session*/, SoupMessage *message, void *self) {
    auto &guard = *static_cast<DescriptionFilter *>(self);
    restrictRequest(message);
    soup_message_add_flags(message, SOUP_MESSAGE_NEW_CONNECTION);
    Request &request =
        guard.requests_.emplace_back(Request{guard, share(message), steady_clock::now(), nullptr});
    g_signal_connect(message, "network-event", G_CALLBACK(cCallback<onConnection>), &request);
    g_signal_connect(message, "finished", G_CALLBACK(cCallback<onFinished>), &request);
    request.timer = g_timeout_source_new(LOOK_MILLISECONDS);
    g_source_set_callback(request.timer, cCallback<look, G_SOURCE_CONTINUE>, &request, nullptr);
    g_source_attach(request.timer, g_main_context_get_thread_default());
}

void DescriptionFilter::onConnection(SoupMessage * /*message*/, int event, GIOStream *connection,
                                     void *data) {
    if (event == G_SOCKET_CLIENT_CONNECTED && G_IS_SOCKET_CONNECTION(connection)) {
        auto &request = *static_cast<Request *>(data);
        request.socket = share(g_socket_connection_get_socket(G_SOCKET_CONNECTION(connection)));
    }
}

void DescriptionFilter::onFinished(SoupMessage * /*message*/, void *data) {
    auto &request = *static_cast<Request *>(data);
    request.owner.forget(request);
}

gboolean DescriptionFilter::look(void *data) {
    auto &request = *static_cast<Request *>(data);
    const bool isTooLong = request.socket && bytesReceived(request.socket.get()) > MAX_BYTES;
    if (request.socket && (isTooLong || steady_clock::now() - request.began > TIMEOUT)) {
        MRB_LOG_WARNING("The description of a network device is too %s.", isTooLong ? "long" : "slow");
        g_socket_shutdown(request.socket.get(), TRUE, TRUE, nullptr);
    }
    return G_SOURCE_CONTINUE;
}

void DescriptionFilter::forget(Request &request) {
    g_source_destroy(request.timer);
    g_source_unref(request.timer);
    g_signal_handlers_disconnect_by_data(request.message.get(), &request);
    requests_.remove_if([&](const Request &each) { return &each == &request; });
}

} // namespace mrb::dlna
