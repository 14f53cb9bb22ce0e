#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

namespace support {

// What a server is asked, as far as tests tell questions apart.
struct Asked {
    std::string action; // "Browse"; of a file its path: "/description.xml"
    std::string head;   // the headers, as they came
    std::string body;   // all that was sent
    std::string container;
    std::string criteria;
    int start = 0;
    int count = 0;
};

// The connection that an answer goes to.
class Wire {
  public:
    Wire(int socket, const std::atomic<bool> &stopped) : socket_(socket), stopped_(stopped) {}

    // False: whoever asked does not listen any more, or the server stops.
    bool send(std::string_view bytes) const;
    // Returns when whoever asked is gone, or the server stops.
    void wait() const;

  private:
    const int socket_;
    const std::atomic<bool> &stopped_;
};

// A DLNA server on the loopback interface that answers questions as the test says, on
// any thread, however wrong that is. Owned by a test.
class ToldServer {
  public:
    using Answer = std::function<void(const Asked &asked, const Wire &wire)>;

    using Describe = std::function<void(const Wire &wire)>;

    // `control`: where its content directory takes calls, if not where it should.
    // `describe`: sends its description, if that is not as it should be.
    explicit ToldServer(Answer answer, std::string control = "/control", Describe describe = {},
                        std::string id = ID);
    ~ToldServer();
    ToldServer(const ToldServer &) = delete;
    ToldServer &operator=(const ToldServer &) = delete;

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

    const Answer answer_;
    const std::string control_;
    const Describe describe_;
    const std::string id_;
    int listening_ = -1;
    int port_ = 0;
    std::atomic<bool> stopped_ = false;
    std::thread thread_;
};

// The answer of a browse or a search, whole, with what HTTP needs.
std::string answerOf(const Asked &asked, const std::string &didl, int returned, int total);
// The answer of any action; the arguments are XML.
std::string responseOf(const Asked &asked, const std::string &arguments);
// The refusal of an action.
std::string refusalOf(int number);
// The text of an argument that was sent, and what stands in one of that.
std::string argumentOf(const Asked &asked, const std::string &name);
// The bytes at an address, as a server fetches them; empty: none came.
std::string fetch(const std::string &url);
// The same with any HTTP status and body.
std::string httpOf(const std::string &status, const std::string &body, const std::string &more = {});
std::string didlOf(const std::string &objects);
std::string imageOf(const std::string &id, const std::string &title);
std::string songOf(const std::string &id, const std::string &title, const std::string &artist = {});
std::string containerOf(const std::string &id, const std::string &title);

} // namespace support
