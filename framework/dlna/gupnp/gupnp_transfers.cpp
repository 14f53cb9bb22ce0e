#include "dlna/gupnp/gupnp_transfers.h"

#include "base/result.h"
#include "dlna/gupnp/errors.h"
#include "dlna/gupnp/uri.h"

namespace mrb::dlna {
namespace {

using std::chrono::steady_clock;

constexpr std::size_t PART_BYTES = 256UL << 10;

} // namespace

GupnpTransfers::GupnpTransfers(std::string server, ServiceEndpoint endpoint)
    : server_(std::move(server)), endpoint_(std::move(endpoint)) {
    const ThreadMainLoop::Turn turn(loop_);
    session_ = std::make_unique<Session>();
    exchanges_ = std::make_unique<HttpRequests>();
}

GupnpTransfers::~GupnpTransfers() {
    const ThreadMainLoop::Turn turn(loop_);
    download_.reset();
    exchanges_.reset();
    session_.reset();
}

// A server must not make this machine send requests to other hosts.
bool GupnpTransfers::isOfServer(const std::string &url) const {
    return isWebAddress(url) && hostOf(url.c_str()) == endpoint_.host;
}

Status GupnpTransfers::makeRequest(const char *method, const std::string &url, Request &request) const {
    if (!isOfServer(url)) {
        return Status::permissionDenied("\"" + url + "\" is not on the server's own host: refused.");
    }
    request.message = Session::request(method, url);
    request.cancellable.reset(g_cancellable_new());
    if (!request.message) {
        return Status::protocolError("\"" + url + "\" is not an HTTP URL.");
    }
    return {};
}

Status GupnpTransfers::send(Request &request, const CancellationToken &cancellation, const Pace &pace) {
    Object<GAsyncResult> result;
    soup_session_send_async(session_->get(), request.message.get(), G_PRIORITY_DEFAULT,
                            request.cancellable.get(), ThreadMainLoop::onReady, &result);
    Status status = loop_.await(result, request.cancellable.get(), cancellation, pace);
    GError *error = nullptr;
    request.stream.reset(soup_session_send_finish(session_->get(), result.get(), &error));
    const Error owned(error);
    if (!status.ok()) {
        return status;
    }
    return request.stream ? Status() : statusOfError(*error);
}

Status GupnpTransfers::beginDownload(const std::string &url, const CancellationToken &cancellation,
                                     Promise &promise) {
    const ThreadMainLoop::Turn turn(loop_);
    download_.reset();
    Request request;
    Status status = makeRequest(SOUP_METHOD_GET, url, request);
    if (status.ok()) {
        status = send(request, cancellation, Pace());
    }
    if (status.ok()) {
        status = statusOfHttp(soup_message_get_status(request.message.get()));
    }
    if (status.ok()) {
        status = checkEncoding(request.message.get());
    }
    if (status.ok()) {
        SoupMessageHeaders *headers = soup_message_get_response_headers(request.message.get());
        const bool isSaid = soup_message_headers_get_encoding(headers) == SOUP_ENCODING_CONTENT_LENGTH;
        promise.size = isSaid ? soup_message_headers_get_content_length(headers) : UNKNOWN;
        const char *type = soup_message_headers_get_content_type(headers, nullptr);
        const Text lower(type != nullptr ? g_ascii_strdown(type, -1) : nullptr);
        promise.mimeType = lower ? lower.get() : "";
        download_ = std::move(request);
    }
    return status;
}

Status GupnpTransfers::finishDownload(const Consumer &take, const CancellationToken &cancellation) {
    const ThreadMainLoop::Turn turn(loop_);
    if (!download_) {
        return Status::notFound("No download has been started.");
    }
    // The rest of the response is closed with the request.
    const Request request = *std::exchange(download_, std::nullopt);
    std::vector<char> part(PART_BYTES);
    Pace pace;
    std::uint64_t bytes = 0;
    for (;;) {
        Object<GAsyncResult> result;
        g_input_stream_read_async(request.stream.get(), part.data(), part.size(), G_PRIORITY_DEFAULT,
                                  request.cancellable.get(), ThreadMainLoop::onReady, &result);
        Status status = loop_.await(result, request.cancellable.get(), cancellation, pace);
        GError *error = nullptr;
        const gssize size = g_input_stream_read_finish(request.stream.get(), result.get(), &error);
        const Error owned(error);
        if (!status.ok() || size < 0) {
            return !status.ok() ? status : statusOfError(*error);
        }
        bytes += static_cast<std::uint64_t>(size);
        pace.moved(bytes);
        const auto since = steady_clock::now();
        if (size == 0 || !take({part.data(), static_cast<std::size_t>(size)})) {
            return {};
        }
        pace.excuse(since);
    }
}

Status GupnpTransfers::call(const std::string &action, const Arguments &arguments,
                            const CancellationToken &cancellation, SoapResponse &response) {
    const auto pending = std::make_shared<Pending>();
    exchanges_->begin({server_, endpoint_.controlUrl, endpoint_.type + '#' + action,
                       envelopeOf(action, arguments, endpoint_.type), ContentDirectoryClient::MAX_BYTES},
                      pending);
    const auto isFinished = [&] { return pending->isFinished(); };
    Status status = loop_.runUntil(isFinished, cancellation, Pace());
    if (!status.ok()) {
        exchanges_->abandon(*pending);
        return status;
    }
    const Reply reply = pending->await(std::chrono::milliseconds(0), [] { return false; });
    return readResponse(reply, action, response);
}

} // namespace mrb::dlna
