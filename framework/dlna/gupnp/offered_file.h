#pragma once

#include <libsoup/soup.h>

#include <cstdint>
#include <list>
#include <string>

#include "dlna/gupnp/gobject.h"

namespace mrb::dlna {

// A file that one host may fetch over HTTP, at a URL that cannot be guessed. Owned by the
// transfer that offers it; runs in the default main context of the thread that created it.
class OfferedFile {
  public:
    struct What {
        int descriptor = -1; // read from its beginning
        std::uint64_t size = 0;
        std::string mimeType;
        std::string extension; // of the address; may be empty
    };

    // `here` is an address of this machine that the host can reach. If the file cannot be
    // served, url() is empty.
    OfferedFile(What what, const std::string &here, std::string host);
    ~OfferedFile();
    OfferedFile(const OfferedFile &) = delete;
    OfferedFile &operator=(const OfferedFile &) = delete;

    [[nodiscard]] const std::string &url() const { return url_; }
    // Bytes sent, of the request that received most.
    [[nodiscard]] std::uint64_t sent() const { return sent_; }
    // Whether one request received all of it.
    [[nodiscard]] bool isFetched() const { return isFetched_; }
    // Whether it could not be read to its end.
    [[nodiscard]] bool isBroken() const { return isBroken_; }

  private:
    // A request that is being served.
    struct Serving {
        OfferedFile &owner;
        Object<SoupServerMessage> message;
        std::uint64_t offset = 0; // bytes passed to the connection
    };

    static void onRequest(SoupServer *server, SoupServerMessage *message, const char *path, GHashTable *query,
                          void *self);
    static void onChunk(SoupServerMessage *message, void *serving);
    static void onEnd(SoupServerMessage *message, void *serving);
    void serve(SoupServerMessage *message);
    void serveMore(Serving &serving);
    void forget(const Serving &serving);

    const What what_;
    const std::string host_;
    const std::string path_;
    const Object<SoupServer> server_;
    std::string url_;
    std::list<Serving> servings_;
    std::uint64_t sent_ = 0;
    bool isFetched_ = false;
    bool isBroken_ = false;
};

} // namespace mrb::dlna
