// The upload of a file to a server: the server creates an object, and then fetches the bytes
// from here; if it does not support that, the bytes are posted to it.

#include <fcntl.h>
#include <gio/gunixinputstream.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "base/log.h"
#include "dlna/gupnp/didl.h"
#include "dlna/gupnp/gupnp_transfers.h"
#include "dlna/gupnp/offered_file.h"

namespace mrb::dlna {
namespace {

using std::chrono::steady_clock;

// The container of a server that chooses where a file goes, by its kind.
constexpr const char *ANY_CONTAINER = "DLNA.ORG_AnyContainer";

constexpr auto POLL_INTERVAL = std::chrono::milliseconds(50);

// How long the last bytes may still be under way when the server reports a complete transfer.
constexpr auto LAST_BYTES_TIMEOUT = std::chrono::seconds(1);

// The timeout for destroying an object after a failure.
constexpr auto CLEANING = std::chrono::seconds(3);

std::string escaped(const std::string &text) {
    const Text escaped(g_markup_escape_text(text.data(), static_cast<gssize>(text.size())));
    return escaped.get();
}

std::string didlOf(const Upload &file, const std::string &container) {
    return R"(<DIDL-Lite xmlns="urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/")"
           R"( xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:upnp="urn:schemas-upnp-org:metadata-1-0/upnp/">)"
           R"(<item id="" parentID=")" +
           escaped(container) + R"(" restricted="0"><dc:title>)" + escaped(file.title) +
           "</dc:title><upnp:class>" + escaped(file.upnpClass) + R"(</upnp:class><res protocolInfo="*:*:)" +
           escaped(file.mimeType) + R"(:*" size=")" + std::to_string(file.size) + R"("/></item></DIDL-Lite>)";
}

Status unreadable(const std::string &title) { return Status::corrupt(title + " cannot be read to its end."); }

void countPosted(SoupMessage * /*message*/, guint bytes, std::uint64_t *posted) { *posted += bytes; }

} // namespace

Status GupnpTransfers::upload(const Upload &file, const Moved &moved, const CancellationToken &cancellation) {
    const ThreadMainLoop::Turn turn(loop_);
    Created created;
    Status status = create(file, cancellation, created);
    if (!status.ok()) {
        return status;
    }
    if (!isOfServer(created.importUrl)) {
        status =
            Status::permissionDenied("The server requests \"" + file.title + "\" at \"" + created.importUrl +
                                     "\", which is not on its own host and is refused.");
    } else {
        // A second attempt starts from the first byte again; the reported progress does not.
        std::uint64_t maximum = 0;
        const auto forward = [&](std::uint64_t bytes) {
            maximum = std::max(maximum, bytes);
            moved(maximum);
        };
        status = import(file, created, forward, cancellation);
        if (status.code == MRB_ERR_NOT_SUPPORTED) {
            status = post(file, created, forward, cancellation);
        }
    }
    if (!status.ok()) {
        destroy(created);
    }
    return status;
}

Status GupnpTransfers::create(const Upload &file, const CancellationToken &cancellation, Created &created) {
    const std::string container = file.container.empty() ? ANY_CONTAINER : file.container;
    SoapResponse response;
    Status status = call("CreateObject", {{"ContainerID", container}, {"Elements", didlOf(file, container)}},
                         cancellation, response);
    if (!status.ok()) {
        return status;
    }
    created.id = response.text("ObjectID");
    created.importUrl = importUrlOf(response.text("Result"));
    if (created.id.empty() || created.importUrl.empty()) {
        destroy(created);
        return Status::protocolError("The server returned no import URL for \"" + file.title + "\".");
    }
    return {};
}

Status GupnpTransfers::import(const Upload &file, const Created &created, const Moved &moved,
                              const CancellationToken &cancellation) {
    OfferedFile offered({file.descriptor, file.size, file.mimeType, file.extension}, endpoint_.here,
                        endpoint_.host);
    if (offered.url().empty()) {
        return Status::notSupported("No file can be served at " + endpoint_.here + ".");
    }
    SoapResponse response;
    Status status =
        call("ImportResource", {{"SourceURI", offered.url()}, {"DestinationURI", created.importUrl}},
             cancellation, response);
    if (!status.ok()) {
        // If it refuses to import, the file may still be posted to it.
        return response.isRefusal ? Status::notSupported(std::move(status.message)) : status;
    }
    const std::string transfer = response.text("TransferID");
    status = follow(transfer, offered, moved, cancellation);
    if (!status.ok()) {
        const auto until = steady_clock::now() + CLEANING;
        // The transfer has failed; whether the server cleans up changes nothing in that.
        static_cast<void>(call(
            "StopTransferResource", {{"TransferID", transfer}}, [&] { return steady_clock::now() > until; },
            response));
    }
    return offered.isBroken() ? unreadable(file.title) : status;
}

// Does not rely on the server: the file is uploaded when the server reports that and has fetched it.
Status GupnpTransfers::follow(const std::string &transfer, OfferedFile &offered, const Moved &moved,
                              const CancellationToken &cancellation) {
    Pace pace;
    for (;;) {
        const auto until = steady_clock::now() + POLL_INTERVAL;
        const auto isOver = [&] { return offered.isBroken() || steady_clock::now() >= until; };
        Status status = loop_.runUntil(isOver, cancellation, pace);
        if (!status.ok() || offered.isBroken()) {
            return status;
        }
        moved(offered.sent());
        pace.moved(offered.sent());
        SoapResponse response;
        status = call("GetTransferProgress", {{"TransferID", transfer}}, cancellation, response);
        if (response.isRefusal && offered.isFetched()) {
            return {}; // it does not report progress, or has forgotten the transfer
        }
        if (!status.ok() && !response.isRefusal) {
            return status;
        }
        const std::string transferStatus = response.text("TransferStatus");
        if (transferStatus == "COMPLETED") {
            // The last bytes may not have been counted here yet.
            const auto lastMoment = steady_clock::now() + LAST_BYTES_TIMEOUT;
            const auto isSettled = [&] { return offered.isFetched() || steady_clock::now() >= lastMoment; };
            // Only what was fetched counts, also after a cancellation.
            static_cast<void>(loop_.runUntil(isSettled, cancellation, pace));
            return offered.isFetched()
                       ? Status()
                       : Status::protocolError("The server reports a complete file that it did not fetch.");
        }
        if (transferStatus == "ERROR" || transferStatus == "STOPPED") {
            return Status::ioError("The server did not receive it: its transfer ended as " + transferStatus +
                                   ".");
        }
    }
}

Status GupnpTransfers::post(const Upload &file, const Created &created, const Moved &moved,
                            const CancellationToken &cancellation) {
    if (lseek(file.descriptor, 0, SEEK_SET) != 0) {
        return unreadable(file.title);
    }
    Request request;
    Status status = makeRequest(SOUP_METHOD_POST, created.importUrl, request);
    if (!status.ok()) {
        return status;
    }
    const Object<GInputStream> bytes(g_unix_input_stream_new(file.descriptor, FALSE));
    soup_message_set_request_body(request.message.get(), file.mimeType.c_str(), bytes.get(),
                                  static_cast<gssize>(file.size));
    std::uint64_t posted = 0;
    g_signal_connect(request.message.get(), "wrote-body-data", G_CALLBACK(countPosted), &posted);
    Pace pace;
    const auto look = [&] {
        moved(posted);
        pace.moved(posted);
        return cancellation.isCancelled();
    };
    status = send(request, look, pace);
    g_signal_handlers_disconnect_by_data(request.message.get(), &posted);
    struct stat now {};
    if (!status.ok() && status.code != MRB_ERR_CANCELLED && fstat(file.descriptor, &now) == 0 &&
        static_cast<std::uint64_t>(now.st_size) < file.size) {
        return unreadable(file.title);
    }
    if (!status.ok()) {
        return status;
    }
    const unsigned httpStatus = soup_message_get_status(request.message.get());
    status = SOUP_STATUS_IS_SUCCESSFUL(httpStatus) ? Status() : statusOfHttp(httpStatus);
    if (status.ok() && posted < file.size) {
        return Status::protocolError("The server reports success for a file that it did not read.");
    }
    moved(posted);
    return status;
}

// Best effort, with a timeout: the server did not take the file.
void GupnpTransfers::destroy(const Created &created) {
    const auto until = steady_clock::now() + CLEANING;
    SoapResponse response;
    if (created.id.empty()) {
        return;
    }
    const Status status = call(
        "DestroyObject", {{"ObjectID", created.id}}, [&] { return steady_clock::now() > until; }, response);
    if (!status.ok()) {
        MRB_LOG_WARNING("The empty object \"%s\" stays on the server.", created.id.c_str());
    }
}

} // namespace mrb::dlna
