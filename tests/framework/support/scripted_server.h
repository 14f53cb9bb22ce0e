#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

namespace support {

// A request to a server, parsed as far as tests need it.
struct Request {
    std::string action; // "Browse"; of a GET its path: "/description.xml"
    std::string head;   // the header lines, as received
    std::string body;   // as received
    std::string container;
    std::string criteria;
    int start = 0;
    int count = 0;
};

// The connection that a request came on. Valid while its handler runs.
class Connection {
  public:
    Connection(int socket, const std::atomic<bool> &stopped) : socket_(socket), stopped_(stopped) {}

    // False: the client has closed the connection, or the server stops.
    bool send(std::string_view bytes) const;
    // Returns when the client has closed the connection, or the server stops.
    void wait() const;

  private:
    const int socket_;
    const std::atomic<bool> &stopped_;
};

// A DLNA server on the loopback interface whose responses a test writes, invalid ones
// included. Calls the handler on a thread of each connection. Owned by a test.
class ScriptedServer {
  public:
    using Handler = std::function<void(const Request &request, const Connection &connection)>;
    using Describe = std::function<void(const Connection &connection)>;

    // `control`: the control URL that the description states.
    // `describe`: sends the description in place of the valid one.
    explicit ScriptedServer(Handler handler, std::string control = "/control", Describe describe = {},
                            std::string id = ID);
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer &) = delete;
    ScriptedServer &operator=(const ScriptedServer &) = delete;

    static constexpr const char *ID = "uuid:4d696e69-444c-164e-9d41-000000000001";

    [[nodiscard]] std::string urlOf(const std::string &path) const {
        return "http://127.0.0.1:" + std::to_string(port_) + path;
    }
    void announce() const { notify("alive"); }
    void leave() const { notify("byebye"); }

  private:
    void notify(const std::string &state) const;
    void serve();
    void serve(int socket);

    const Handler handler_;
    const std::string control_;
    const Describe describe_;
    const std::string id_;
    int listening_ = -1;
    int port_ = 0;
    std::atomic<bool> stopped_ = false;
    std::thread thread_;
};

// The HTTP response to a Browse or a Search.
std::string browseResponse(const Request &request, const std::string &didl, int returned, int total);
// The HTTP response to any action; the arguments are XML.
std::string soapResponse(const Request &request, const std::string &arguments);
// The HTTP response of an action that fails with a UPnP error.
std::string soapFault(int number);
// The text of an argument of the request; empty: it has none of that name.
std::string argumentOf(const Request &request, const std::string &name);
// Fetches an address as a server does; empty: nothing came.
std::string fetch(const std::string &url);
// An HTTP response.
std::string httpResponse(const std::string &status, const std::string &body, const std::string &more = {});
std::string didlOf(const std::string &objects);
std::string imageOf(const std::string &id, const std::string &title);
std::string songOf(const std::string &id, const std::string &title, const std::string &artist = {});
std::string containerOf(const std::string &id, const std::string &title);

} // namespace support
