#include "dlna/gupnp/offered_file.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <memory>
#include <utility>

#include "base/c_callback.h"
#include "base/deleter.h"

namespace mrb::dlna {
namespace {

constexpr std::size_t PART_BYTES = 256UL << 10;

void freeUris(GSList *list) {
    g_slist_free_full(list, [](gpointer uri) { g_uri_unref(static_cast<GUri *>(uri)); });
}

// "/5f2c….jpg": servers derive the file's type from the extension.
std::string secretPath(const std::string &extension) {
    const Text secret(g_uuid_string_random());
    const bool isPlain = !extension.empty() && std::ranges::all_of(extension, [](unsigned char letter) {
        return std::isalnum(letter) != 0;
    });
    return std::string("/") + secret.get() + (isPlain ? "." + extension : "");
}

std::string hostOf(SoupServerMessage *message) {
    const char *host = soup_server_message_get_remote_host(message);
    return host != nullptr ? host : "";
}

} // namespace

OfferedFile::OfferedFile(What what, const std::string &here, std::string host)
    : what_(std::move(what)), host_(std::move(host)), path_(secretPath(what_.extension)),
      server_(soup_server_new(nullptr, nullptr)) {
    const Object<GInetAddress> address(g_inet_address_new_from_string(here.c_str()));
    if (!address) {
        return;
    }
    const Object<GSocketAddress> socketAddress(g_inet_socket_address_new(address.get(), 0));
    soup_server_add_handler(server_.get(), nullptr, cCallback<onRequest>, this, nullptr);
    if (soup_server_listen(server_.get(), socketAddress.get(), SoupServerListenOptions(0), nullptr) ==
        FALSE) {
        return;
    }
    const std::unique_ptr<GSList, Deleter<freeUris>> uris(soup_server_get_uris(server_.get()));
    if (uris) {
        url_ =
            "http://" + here + ":" + std::to_string(g_uri_get_port(static_cast<GUri *>(uris->data))) + path_;
    }
}

OfferedFile::~OfferedFile() {
    soup_server_disconnect(server_.get());
    for (Serving &serving : servings_) {
        g_signal_handlers_disconnect_by_data(serving.message.get(), &serving);
    }
}

void OfferedFile::onRequest(SoupServer * /*server*/, SoupServerMessage *message, const char *path,
                            GHashTable * /*query*/, void *self) {
    auto &file = *static_cast<OfferedFile *>(self);
    const std::string method = soup_server_message_get_method(message);
    if (hostOf(message) != file.host_) {
        soup_server_message_set_status(message, SOUP_STATUS_FORBIDDEN, nullptr);
    } else if (file.path_ != path) {
        soup_server_message_set_status(message, SOUP_STATUS_NOT_FOUND, nullptr);
    } else if (method != "GET" && method != "HEAD") {
        soup_server_message_set_status(message, SOUP_STATUS_METHOD_NOT_ALLOWED, nullptr);
    } else {
        soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
        SoupMessageHeaders *headers = soup_server_message_get_response_headers(message);
        soup_message_headers_set_content_type(headers, file.what_.mimeType.c_str(), nullptr);
        soup_message_headers_set_content_length(headers, static_cast<goffset>(file.what_.size));
        if (method == "GET") {
            file.serve(message);
        }
    }
}

void OfferedFile::serve(SoupServerMessage *message) {
    soup_message_body_set_accumulate(soup_server_message_get_response_body(message), FALSE);
    Serving &serving = servings_.emplace_back(Serving{*this, share(message)});
    g_signal_connect(message, "wrote-chunk", G_CALLBACK(cCallback<onChunk>), &serving);
    g_signal_connect(message, "finished", G_CALLBACK(cCallback<onEnd>), &serving);
    serveMore(serving);
}

void OfferedFile::serveMore(Serving &serving) {
    SoupMessageBody *body = soup_server_message_get_response_body(serving.message.get());
    const std::size_t partLength =
        static_cast<std::size_t>(std::min<std::uint64_t>(PART_BYTES, what_.size - serving.offset));
    if (partLength == 0) {
        soup_message_body_complete(body);
        return;
    }
    auto *part = static_cast<char *>(g_malloc(partLength));
    ssize_t size = 0;
    do {
        size = pread(what_.descriptor, part, partLength, static_cast<off_t>(serving.offset));
    } while (size < 0 && errno == EINTR);
    if (size <= 0) {
        g_free(part);
        isBroken_ = true;
        // Fewer bytes than announced: the client must not take this for the end.
        if (GSocket *socket = soup_server_message_get_socket(serving.message.get())) {
            g_socket_shutdown(socket, TRUE, TRUE, nullptr);
        }
        return;
    }
    serving.offset += static_cast<std::uint64_t>(size);
    soup_message_body_append_take(body, reinterpret_cast<unsigned char *>(part), static_cast<gsize>(size));
}

void OfferedFile::onChunk(SoupServerMessage * /*message*/, void *data) {
    auto &serving = *static_cast<Serving *>(data);
    OfferedFile &file = serving.owner;
    // All bytes passed on so far have been written.
    file.sent_ = std::max(file.sent_, serving.offset);
    file.serveMore(serving);
}

void OfferedFile::onEnd(SoupServerMessage *message, void *data) {
    auto &serving = *static_cast<Serving *>(data);
    OfferedFile &file = serving.owner;
    g_signal_handlers_disconnect_by_data(message, data);
    file.isFetched_ = file.isFetched_ || (serving.offset == file.what_.size && file.sent_ == file.what_.size);
    file.forget(serving);
}

void OfferedFile::forget(const Serving &serving) {
    servings_.remove_if([&](const Serving &each) { return &each == &serving; });
}

} // namespace mrb::dlna
