#include "support/scripted_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <list>
#include <utility>

namespace support {
namespace {

constexpr int POLL_INTERVAL = 20; // milliseconds

sockaddr_in addressOf(const char *host, int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, host, &address.sin_addr);
    return address;
}

std::string escaped(const std::string &text) {
    std::string all;
    for (const char letter : text) {
        all += letter == '<'   ? "&lt;"
               : letter == '>' ? "&gt;"
               : letter == '&' ? "&amp;"
                               : std::string(1, letter);
    }
    return all;
}

std::string between(const std::string &text, const std::string &begin, const std::string &end) {
    const std::size_t from = text.find(begin);
    if (from == std::string::npos) {
        return {};
    }
    const std::size_t start = from + begin.size();
    return text.substr(start, text.find(end, start) - start);
}

// The next request on a connection, with its body; empty: the client has closed it.
std::string readRequest(int socket, const std::atomic<bool> &stopped) {
    std::string request;
    std::array<char, 4096> part{};
    while (!stopped) {
        pollfd waiting{socket, POLLIN, 0};
        if (poll(&waiting, 1, POLL_INTERVAL) == 0) {
            continue;
        }
        const ssize_t size = recv(socket, part.data(), part.size(), 0);
        if (size <= 0) {
            return {};
        }
        request.append(part.data(), static_cast<std::size_t>(size));
        const std::size_t head = request.find("\r\n\r\n");
        const std::string length = between(request, "Content-Length: ", "\r\n");
        if (head != std::string::npos &&
            request.size() >= head + 4 + std::strtoul(length.c_str(), nullptr, 10)) {
            return request;
        }
    }
    return {};
}

Request parseRequest(const std::string &text) {
    Request request;
    const std::string action = between(text, "SOAPAction: \"", "\"");
    request.action = action.empty() ? between(text, " ", " ") : action.substr(action.find('#') + 1);
    request.head = text.substr(0, text.find("\r\n\r\n") + 2);
    request.body = text.substr(text.find("\r\n\r\n") + 4);
    request.container =
        between(text, "<ObjectID>", "</ObjectID>") + between(text, "<ContainerID>", "</ContainerID>");
    request.criteria = between(text, "<SearchCriteria>", "</SearchCriteria>");
    request.start = std::atoi(between(text, "<StartingIndex>", "<").c_str());
    request.count = std::atoi(between(text, "<RequestedCount>", "<").c_str());
    return request;
}

} // namespace

bool Connection::send(std::string_view bytes) const {
    while (!bytes.empty() && !stopped_) {
        pollfd waiting{socket_, POLLOUT | POLLRDHUP, 0};
        if (poll(&waiting, 1, POLL_INTERVAL) == 0) {
            continue;
        }
        if ((waiting.revents & POLLRDHUP) != 0) {
            return false; // the client reads no further
        }
        const ssize_t size = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (size <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(size));
    }
    return !stopped_;
}

void Connection::wait() const {
    while (!stopped_) {
        pollfd waiting{socket_, POLLIN | POLLRDHUP, 0};
        if (poll(&waiting, 1, POLL_INTERVAL) > 0) {
            return;
        }
    }
}

ScriptedServer::ScriptedServer(Handler handler, std::string control, Describe describe, std::string id)
    : handler_(std::move(handler)), control_(std::move(control)), describe_(std::move(describe)),
      id_(std::move(id)), listening_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = addressOf("127.0.0.1", 0);
    socklen_t length = sizeof address;
    EXPECT_EQ(bind(listening_, reinterpret_cast<sockaddr *>(&address), length), 0);
    EXPECT_EQ(listen(listening_, 16), 0);
    getsockname(listening_, reinterpret_cast<sockaddr *>(&address), &length);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

ScriptedServer::~ScriptedServer() {
    stopped_ = true;
    thread_.join();
    close(listening_);
}

void ScriptedServer::serve() {
    struct Worker {
        std::thread thread;
        std::atomic<bool> isOver = false;
    };
    std::list<Worker> workers;
    while (!stopped_) {
        pollfd waiting{listening_, POLLIN, 0};
        if (poll(&waiting, 1, POLL_INTERVAL) > 0) {
            const int socket = accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC);
            Worker &worker = workers.emplace_back();
            worker.thread = std::thread([this, socket, &worker] {
                serve(socket);
                worker.isOver = true;
            });
        }
        workers.remove_if([](Worker &worker) {
            const bool isOver = worker.isOver;
            if (isOver) {
                worker.thread.join();
            }
            return isOver;
        });
    }
    for (Worker &worker : workers) {
        worker.thread.join();
    }
}

void ScriptedServer::serve(int socket) {
    for (std::string text; !(text = readRequest(socket, stopped_)).empty();) {
        const Request request = parseRequest(text);
        const Connection connection(socket, stopped_);
        if (request.action == "/description.xml" && describe_) {
            describe_(connection);
            break;
        }
        if (request.action == "/description.xml") {
            connection.send(httpResponse(
                "200 OK", std::string(R"(<?xml version="1.0"?><root xmlns="urn:schemas-upnp-org:device-1-0">)"
                                      R"(<specVersion><major>1</major><minor>0</minor></specVersion><device>)"
                                      "<deviceType>urn:schemas-upnp-org:device:MediaServer:1</"
                                      "deviceType><friendlyName>Scripted</friendlyName>"
                                      "<manufacturer>none</manufacturer><modelName>none</modelName><UDN>") +
                              id_ +
                              "</UDN><serviceList><service>"
                              "<serviceType>urn:schemas-upnp-org:service:ContentDirectory:1</serviceType>"
                              "<serviceId>urn:upnp-org:serviceId:ContentDirectory</serviceId><SCPDURL>/"
                              "scpd.xml</SCPDURL><controlURL>" +
                              control_ +
                              "</controlURL><eventSubURL>/events</eventSubURL></service></serviceList></"
                              "device></root>"));
        } else {
            handler_(request, connection);
            break; // the handler may send less than a whole response
        }
    }
    close(socket);
}

void ScriptedServer::notify(const std::string &state) const {
    const int sender = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_in own = addressOf("127.0.0.1", 0);
    setsockopt(sender, IPPROTO_IP, IP_MULTICAST_IF, &own.sin_addr, sizeof own.sin_addr);
    const std::string type = "urn:schemas-upnp-org:device:MediaServer:1";
    const std::string text =
        "NOTIFY * HTTP/1.1\r\nHOST: 239.255.255.250:1900\r\nCACHE-CONTROL: max-age=1800\r\n"
        "LOCATION: http://127.0.0.1:" +
        std::to_string(port_) + "/description.xml\r\nNT: " + type + "\r\nNTS: ssdp:" + state +
        "\r\nSERVER: none\r\nUSN: " + id_ + "::" + type + "\r\n\r\n";
    const sockaddr_in group = addressOf("239.255.255.250", 1900);
    EXPECT_GT(
        sendto(sender, text.data(), text.size(), 0, reinterpret_cast<const sockaddr *>(&group), sizeof group),
        0);
    close(sender);
}

std::string httpResponse(const std::string &status, const std::string &body, const std::string &more) {
    return "HTTP/1.1 " + status + "\r\nContent-Type: text/xml; charset=\"utf-8\"\r\n" + more +
           "Content-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

std::string soapResponse(const Request &request, const std::string &arguments) {
    const std::string name = "u:" + request.action + "Response";
    return httpResponse(
        "200 OK", R"(<?xml version="1.0"?><s:Envelope xmlns:s="http://schemas.xmlsoap.org/soap/envelope/">)"
                  "<s:Body><" +
                      name + R"( xmlns:u="urn:schemas-upnp-org:service:ContentDirectory:1">)" + arguments +
                      "</" + name + "></s:Body></s:Envelope>");
}

std::string soapFault(int number) {
    return httpResponse(
        "500 Internal Server Error",
        R"(<?xml version="1.0"?><s:Envelope xmlns:s="http://schemas.xmlsoap.org/soap/envelope/">)"
        "<s:Body><s:Fault><faultcode>s:Client</faultcode><faultstring>UPnPError</faultstring><detail>"
        R"(<UPnPError xmlns="urn:schemas-upnp-org:control-1-0"><errorCode>)" +
            std::to_string(number) +
            "</errorCode><errorDescription>No</errorDescription></UPnPError></detail></s:Fault>"
            "</s:Body></s:Envelope>");
}

std::string argumentOf(const Request &request, const std::string &name) {
    return between(request.body, "<" + name + ">", "</" + name + ">");
}

std::string fetch(const std::string &url) {
    const std::string place = between(url, "http://", "/");
    const std::size_t colon = place.find(':');
    const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address =
        addressOf(place.substr(0, colon).c_str(), std::atoi(place.substr(colon + 1).c_str()));
    const std::string path = url.substr(url.find('/', std::string("http://").size()));
    const std::string request =
        "GET " + path + " HTTP/1.1\r\nHost: " + place + "\r\nConnection: close\r\n\r\n";
    std::string answer;
    if (connect(client, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
        ::send(client, request.data(), request.size(), MSG_NOSIGNAL) > 0) {
        std::array<char, 4096> part{};
        for (ssize_t size = 0; (size = recv(client, part.data(), part.size(), 0)) > 0;) {
            answer.append(part.data(), static_cast<std::size_t>(size));
        }
    }
    close(client);
    const std::size_t head = answer.find("\r\n\r\n");
    return answer.starts_with("HTTP/1.1 200") ? answer.substr(head + 4) : std::string();
}

std::string browseResponse(const Request &request, const std::string &didl, int returned, int total) {
    return soapResponse(request, "<Result>" + escaped(didl) + "</Result><NumberReturned>" +
                                     std::to_string(returned) + "</NumberReturned><TotalMatches>" +
                                     std::to_string(total) + "</TotalMatches><UpdateID>1</UpdateID>");
}

std::string didlOf(const std::string &objects) {
    return R"(<DIDL-Lite xmlns="urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/" )"
           R"(xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:upnp="urn:schemas-upnp-org:metadata-1-0/upnp/">)" +
           objects + "</DIDL-Lite>";
}

std::string imageOf(const std::string &id, const std::string &title) {
    return "<item id=\"" + id + R"(" parentID="0" restricted="1"><dc:title>)" + title +
           R"(</dc:title><upnp:class>object.item.imageItem.photo</upnp:class><dc:date>2026-11-21T10:20:30Z</dc:date>)"
           R"(<res size="1234" resolution="400x300" protocolInfo="http-get:*:image/jpeg:*">http://127.0.0.1:1/)" +
           id + ".jpg</res></item>";
}

std::string songOf(const std::string &id, const std::string &title, const std::string &artist) {
    const std::string artists = artist.empty() ? "" : "<upnp:artist>" + artist + "</upnp:artist>";
    return "<item id=\"" + id + R"(" parentID="0" restricted="1"><dc:title>)" + title + "</dc:title>" +
           artists + "<upnp:class>object.item.audioItem.musicTrack</upnp:class>" +
           R"(<res size="99" protocolInfo="http-get:*:audio/mpeg:*">http://127.0.0.1:1/)" + id +
           ".mp3</res></item>";
}

std::string containerOf(const std::string &id, const std::string &title) {
    return "<container id=\"" + id + R"(" parentID="0" restricted="1"><dc:title>)" + title +
           "</dc:title><upnp:class>object.container.storageFolder</upnp:class></container>";
}

} // namespace support
