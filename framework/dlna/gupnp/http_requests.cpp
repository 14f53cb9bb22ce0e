#include "dlna/gupnp/http_requests.h"

#include <algorithm>
#include <utility>

#include "dlna/gupnp/errors.h"

namespace mrb::dlna {
namespace {

constexpr std::size_t PART_BYTES = 64UL << 10;

} // namespace

struct HttpRequests::Running {
    Running(HttpRequests &exchanges, std::shared_ptr<Pending> reply, const Call &call,
            Object<SoupMessage> request)
        : owner(exchanges), pending(std::move(reply)), server(call.server), maximum(call.maximum),
          message(std::move(request)) {}

    HttpRequests &owner;
    const std::shared_ptr<Pending> pending;
    const std::string server;
    const std::size_t maximum; // maximum bytes of the response
    const Object<SoupMessage> message;
    const Object<GCancellable> cancellable{g_cancellable_new()};
    Object<GInputStream> stream;
    std::vector<char> part = std::vector<char>(PART_BYTES);
    std::string body;
    Status why; // of the cancellation
};

HttpRequests::HttpRequests() = default;

HttpRequests::~HttpRequests() {
    keep([](const std::string & /*server*/) { return false; });
    GMainContext *context = g_main_context_get_thread_default();
    while (!running_.empty()) {
        g_main_context_iteration(context, TRUE); // a cancelled call ends at once
    }
}

const std::string &HttpRequests::serverOf(const Running &running) { return running.server; }

void HttpRequests::begin(const Call &call, std::shared_ptr<Pending> pending) {
    const bool isCall = !call.action.empty();
    Object<SoupMessage> message = Session::request(isCall ? SOUP_METHOD_POST : SOUP_METHOD_GET, call.url);
    if (!message) {
        pending->finish({Status::protocolError("\"" + call.url + "\" is not an HTTP URL."), 0, {}});
        return;
    }
    if (isCall) {
        SoupMessageHeaders *headers = soup_message_get_request_headers(message.get());
        soup_message_headers_append(headers, "SOAPAction", ('"' + call.action + '"').c_str());
        GBytes *body = g_bytes_new(call.envelope.data(), call.envelope.size());
        soup_message_set_request_body_from_bytes(message.get(), "text/xml; charset=\"utf-8\"", body);
        g_bytes_unref(body);
    }
    running_.push_back(std::make_unique<Running>(*this, std::move(pending), call, std::move(message)));
    Running &running = *running_.back();
    soup_session_send_async(session_.get(), running.message.get(), G_PRIORITY_DEFAULT,
                            running.cancellable.get(), onSent, &running);
}

void HttpRequests::abandon(const Pending &pending) {
    for (const auto &each : running_) {
        if (each->pending.get() == &pending) {
            cancel(*each, Status::cancelled());
        }
    }
}

void HttpRequests::cancel(Running &running, Status why) {
    running.why = std::move(why);
    g_cancellable_cancel(running.cancellable.get());
}

// Exceptions must not reach GLib, and the request ends with them.
template <typename Step>
void HttpRequests::proceed(Running &running, Step step) noexcept {
    try {
        step();
    } catch (const std::exception &) {
        end(running, {MRB_ERR_OUT_OF_MEMORY, {}});
    }
}

void HttpRequests::onSent(GObject *session, GAsyncResult *result, void *data) {
    auto &running = *static_cast<Running *>(data);
    proceed(running, [&] {
        GError *error = nullptr;
        running.stream.reset(soup_session_send_finish(SOUP_SESSION(session), result, &error));
        if (!running.stream) {
            fail(running, *Error(error));
        } else if (Status status = checkEncoding(running.message.get()); !status.ok()) {
            end(running, std::move(status));
        } else {
            readOn(running);
        }
    });
}

void HttpRequests::readOn(Running &running) {
    g_input_stream_read_async(running.stream.get(), running.part.data(), running.part.size(),
                              G_PRIORITY_DEFAULT, running.cancellable.get(), onRead, &running);
}

void HttpRequests::onRead(GObject *stream, GAsyncResult *result, void *data) {
    auto &running = *static_cast<Running *>(data);
    proceed(running, [&] {
        GError *error = nullptr;
        const gssize size = g_input_stream_read_finish(G_INPUT_STREAM(stream), result, &error);
        if (size < 0) {
            fail(running, *Error(error));
        } else if (size == 0) {
            end(running, {});
        } else if (running.body.size() + static_cast<std::size_t>(size) > running.maximum) {
            end(running, Status::protocolError("The server's response is longer than " +
                                               std::to_string(running.maximum) + " bytes."));
        } else {
            running.body.append(running.part.data(), static_cast<std::size_t>(size));
            readOn(running);
        }
    });
}

void HttpRequests::fail(Running &running, const GError &error) {
    if (!running.why.ok()) {
        end(running, running.why);
    } else {
        end(running, statusOfError(error));
    }
}

// The connection of a response that was not read to its end is closed with the stream.
void HttpRequests::end(Running &running, Status status) {
    const unsigned httpStatus = soup_message_get_status(running.message.get());
    running.pending->finish({std::move(status), httpStatus, std::move(running.body)});
    auto &all = running.owner.running_;
    all.erase(std::ranges::find_if(all, [&](const auto &each) { return each.get() == &running; }));
}

} // namespace mrb::dlna
