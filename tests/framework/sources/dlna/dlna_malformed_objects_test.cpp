// Malformed values and objects of servers: only what is malformed is lost.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "support/dlna_client.h"
#include "support/fields.h"
#include "support/scripted_server.h"

using support::Client;
using support::Connection;
using support::DlnaClient;
using support::Event;
using support::Request;
using support::ScriptedServer;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class DlnaMalformedObjects : public support::DlnaTest {
  protected:
    // A server, and the list of all its items; the list's last event.
    Event list(const std::function<std::string(const Request &request)> &browse) {
        const ScriptedServer server([&](const Request &request, const Connection &connection) {
            connection.send(request.action == "Browse" ? browse(request) : support::soapFault(401));
        });
        DlnaClient service;
        server.announce();
        const Event end = client_.list({.path = service.server(), .source = "SOURCE_DLNA"});
        return end;
    }
    // A server with these objects.
    Event list(const std::string &objects, int count) {
        return list([=](const Request &request) {
            return browseResponse(request, support::didlOf(objects), count, count);
        });
    }

    [[nodiscard]] std::vector<std::string> names() const { return client_.all("name"); }

    static std::string dated(const std::string &id, const std::string &date) {
        return "<item id=\"" + id + R"(" parentID="0" restricted="1"><dc:title>)" + id +
               "</dc:title><upnp:class>object.item.imageItem.photo</upnp:class><dc:date>" + date +
               "</dc:date></item>";
    }

    Client client_;
};

std::vector<std::string> textsOf(const Json::Value &array) {
    std::vector<std::string> texts;
    for (const Json::Value &each : array) {
        texts.push_back(each.asString());
    }
    return texts;
}

} // namespace

TEST_F(DlnaMalformedObjects, AnInvalidDateCostsTheDateOnly) {
    if (!insideNetwork()) {
        return;
    }
    std::string objects;
    int count = 0;
    for (const char *date : {"2006:05:01", "unknown", "20060501", "", "2006-13-45", "0000-00-00", "2006",
                             "2006-05", "-1", "2006-05-01T99:99:99", "01/05/2006", "2006-05-01T10:20:30"}) {
        objects += dated("item " + std::to_string(count++), date);
    }
    const Event end = list(objects, count);
    EXPECT_EQ(end.event, MRB_EVENT_LIST_READY);
    EXPECT_EQ(client_.count(), count);
    EXPECT_EQ(end.data["left_out"], 0);
    EXPECT_TRUE(client_.item(1)["modified"].isNull());
    EXPECT_EQ(client_.item(count - 1)["modified"], "2006-05-01T10:20:30Z");
}

TEST_F(DlnaMalformedObjects, OtherInvalidValuesCostThemselvesOnly) {
    if (!insideNetwork()) {
        return;
    }
    const auto song = [](const std::string &id, const std::string &attributes) {
        return "<item id=\"" + id + R"(" parentID="0" restricted="1"><dc:title>)" + id +
               "</dc:title><upnp:class>object.item.audioItem</upnp:class>"
               "<upnp:originalTrackNumber>one</upnp:originalTrackNumber><res " +
               attributes + ">http://127.0.0.1:1/a.mp3</res></item>";
    };
    const Event end = list(
        song(
            "a",
            R"(size="big" duration="soon" bitrate="" resolution="1x" protocolInfo="http-get:*:audio/mpeg:*")") +
            song("b", R"(size="-7" duration="0:99:99" sampleFrequency="1e9" protocolInfo="http-get")") +
            song("c", "") +
            song(
                "d",
                R"(size="99999999999999999999" duration="1:02:03.5" protocolInfo="http-get:*:audio/mpeg:*")"),
        4);
    EXPECT_EQ(end.event, MRB_EVENT_LIST_READY);
    EXPECT_THAT(names(), ElementsAre("a", "b", "c", "d"));
    EXPECT_TRUE(client_.item(0)["size"].isNull());
    EXPECT_TRUE(client_.item(0)["duration"].isNull());
    EXPECT_EQ(client_.item(0)["url"], "http://127.0.0.1:1/a.mp3");
    EXPECT_TRUE(client_.item(3)["size"].isNull());
    EXPECT_EQ(client_.item(3)["duration"], 3'723'500);
}

TEST_F(DlnaMalformedObjects, ObjectsWithoutIdsAreLeftOutCountedAndNamed) {
    if (!insideNetwork()) {
        return;
    }
    const std::string nameless = "<item parentID=\"0\"><upnp:class>object.item</upnp:class></item>";
    const Event end = list(support::imageOf("1", "one") + support::imageOf("", "no id") + nameless +
                               support::imageOf("2", "two"),
                           4);
    EXPECT_EQ(end.event, MRB_EVENT_LIST_READY) << end.data.toStyledString();
    EXPECT_THAT(names(), ElementsAre("one", "two"));
    EXPECT_EQ(end.data["left_out"], 2);
    EXPECT_THAT(textsOf(end.data["left_out_names"]), ElementsAre("no id", HasSubstr("container \"0\"")));
}

TEST_F(DlnaMalformedObjects, AllThatIsLeftOutIsCountedAndTenAreNamed) {
    if (!insideNetwork()) {
        return;
    }
    std::string objects;
    for (int number = 0; number < 30; ++number) {
        objects += support::imageOf("", "no id");
    }
    const Event end = list(objects + support::imageOf("1", "one"), 31);
    EXPECT_EQ(end.event, MRB_EVENT_LIST_READY);
    EXPECT_EQ(end.data["left_out"], 30);
    EXPECT_EQ(end.data["left_out_names"].size(), 10U);
}

TEST_F(DlnaMalformedObjects, BytesThatAreNotTextCostThemselvesOnly) {
    if (!insideNetwork()) {
        return;
    }
    const Event end = list(support::imageOf("1", "caf\xe9") + support::imageOf("2", "bell \x07 tab") +
                               support::imageOf("3", "Tom & Jerry &nbsp;&#1; end") +
                               support::imageOf("4\xff", "odd id") + support::imageOf("5", "日本"),
                           5);
    EXPECT_EQ(end.event, MRB_EVENT_LIST_READY) << end.data.toStyledString();
    EXPECT_THAT(names(), ElementsAre("caf\uFFFD", "bell   tab", HasSubstr("Jerry"), "日本"));
    EXPECT_EQ(end.data["left_out"], 1);
    EXPECT_THAT(textsOf(end.data["left_out_names"]), ElementsAre("odd id"));
}

TEST_F(DlnaMalformedObjects, UndeclaredNamespacesAreHarmless) {
    if (!insideNetwork()) {
        return;
    }
    const Event end = list([](const Request &request) {
        return browseResponse(request, "<DIDL-Lite>" + support::songOf("1", "one", "me") + "</DIDL-Lite>", 1,
                              1);
    });
    EXPECT_EQ(end.event, MRB_EVENT_LIST_READY) << end.data.toStyledString();
    EXPECT_THAT(names(), ElementsAre("one"));
}

TEST_F(DlnaMalformedObjects, AnEndTagThatIsMissingCostsNoNeighbour) {
    if (!insideNetwork()) {
        return;
    }
    const std::string open =
        "<item id=\"2\"><dc:title>two</dc:title><upnp:class>object.item.imageItem</upnp:class>";
    const Event end = list(support::imageOf("1", "one") + open + support::imageOf("3", "three") +
                               support::imageOf("4", "four"),
                           4);
    EXPECT_EQ(end.event, MRB_EVENT_LIST_FAILED);
    EXPECT_EQ(end.data["error"], "MRB_ERR_PROTOCOL");
    EXPECT_THAT(names(), ElementsAre("one", "two", "three", "four"));
}

TEST_F(DlnaMalformedObjects, ABrokenPageCostsNoOtherPage) {
    if (!insideNetwork()) {
        return;
    }
    std::string bomb = "<item id=\"bomb\"><dc:title>bomb</dc:title>";
    for (int depth = 0; depth < 100'000; ++depth) {
        bomb += "<a>";
    }
    const Event end = list([&](const Request &request) {
        const std::string number = std::to_string(request.start);
        const std::string first = support::imageOf(number, "picture " + number);
        return browseResponse(
            request,
            support::didlOf(first + (request.start == 2 ? bomb : support::imageOf(number + "x", "more"))), 2,
            6);
    });
    EXPECT_EQ(end.event, MRB_EVENT_LIST_FAILED);
    EXPECT_EQ(end.data["error"], "MRB_ERR_PROTOCOL");
    EXPECT_THAT(names(), ElementsAre("picture 0", "more", "picture 2", "picture 4", "more"));
    EXPECT_EQ(end.data["left_out"], 1);
    EXPECT_THAT(textsOf(end.data["left_out_names"]), ElementsAre("bomb"));
}

// A server that scans its folders puts new objects before those that were read already.
TEST_F(DlnaMalformedObjects, AContainerThatGrowsWhileItIsReadIsReadWhole) {
    if (!insideNetwork()) {
        return;
    }
    std::atomic<int> requestCount = 0;
    const Event end = list([&](const Request &request) {
        // In the order of their ids, newest first, 500 at a time.
        const int total = ++requestCount == 1 ? 600 : 900;
        std::string objects;
        int given = 0;
        for (int place = request.start; place < total && given < request.count; ++place, ++given) {
            const std::string id = std::to_string(total - place);
            objects += support::imageOf(id, id);
        }
        return browseResponse(request, support::didlOf(objects), given, total);
    });
    EXPECT_EQ(end.event, MRB_EVENT_LIST_READY) << end.data.toStyledString();
    EXPECT_EQ(client_.count(), 900);
}
