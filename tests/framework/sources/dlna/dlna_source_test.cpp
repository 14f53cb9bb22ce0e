// How a server's content directory becomes a list, with scripted content directories.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "list/item_store.h"
#include "mrb/agent.h"
#include "sources/dlna/directory_scan.h"

using mrb::CancellationToken;
using mrb::DirectoryScan;
using mrb::FillResult;
using mrb::ItemInfo;
using mrb::ItemStore;
using mrb::ListRequest;
using mrb::Status;
using mrb::dlna::BrowseRequest;
using mrb::dlna::MediaObject;
using mrb::dlna::Page;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

MediaObject image(const std::string &id, const std::string &title = {}) {
    MediaObject object;
    object.id = id;
    object.title = title.empty() ? "picture " + id : title;
    object.upnpClass = "object.item.imageItem.photo";
    return object;
}

MediaObject container(const std::string &id, const std::string &title) {
    MediaObject object;
    object.id = id;
    object.title = title;
    object.upnpClass = "object.container.storageFolder";
    object.isContainer = true;
    return object;
}

// A client whose responses a test writes.
class ScriptedContentClient final : public mrb::dlna::ContentDirectoryClient {
  public:
    using Response = std::function<Status(const BrowseRequest &request, Page &page)>;

    Status browse(const BrowseRequest &request, const CancellationToken & /*cancellation*/,
                  Page &page) override {
        requests.push_back(request);
        return respond(request, page);
    }

    Status fetch(const std::string & /*url*/, std::size_t /*maxBytes*/, std::chrono::milliseconds /*timeout*/,
                 const CancellationToken & /*cancellation*/, std::string & /*bytes*/) override {
        return Status::notFound();
    }

    Status connect(const std::string & /*server*/, const CancellationToken & /*cancellation*/,
                   std::unique_ptr<mrb::dlna::Transfers> & /*transfers*/) override {
        return Status::notSupported();
    }

    // A valid server's response out of what its containers hold.
    Status validPage(const BrowseRequest &request, Page &page) const {
        const auto found = contents.find(request.container);
        if (found == contents.end()) {
            return Status::notFound("no such container");
        }
        const std::vector<MediaObject> &all = found->second;
        for (std::size_t index = request.start; index < all.size() && page.objects.size() < request.count;
             ++index) {
            page.objects.push_back(all[index]);
        }
        page.returned = static_cast<std::uint32_t>(page.objects.size());
        page.total = static_cast<std::uint32_t>(all.size());
        return {};
    }

    std::map<std::string, std::vector<MediaObject>> contents;
    Response respond = [this](const BrowseRequest &request, Page &page) { return validPage(request, page); };
    std::vector<BrowseRequest> requests;
};

class Sink final : public mrb::ItemSink {
  public:
    [[nodiscard]] bool wants(std::uint8_t /*type*/) const override { return true; }
    [[nodiscard]] const mrb::CancellationToken &cancellation() const override { return cancellation_; }
    void setExpectedTotal(std::int64_t total) override { announced = total; }
    std::int32_t addFolder(std::int32_t parent, std::string_view name) override {
        return store.addFolder(parent, name);
    }
    [[nodiscard]] bool add(std::span<const mrb::SourceItem> items) override {
        for (const mrb::SourceItem &item : items) {
            if (!store.add(item, true)) {
                return false;
            }
        }
        return !cancellation_.isCancelled();
    }

    // "folder/name" of all items.
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (std::int32_t item = 0; item < store.size(); ++item) {
            const ItemInfo metadata = store.info(item);
            all.push_back(metadata.folder.empty() ? metadata.name : metadata.folder + "/" + metadata.name);
        }
        return all;
    }

    ItemStore store;
    mrb::CancellationSource cancellationSource;
    std::int64_t announced = -1;

  private:
    const mrb::CancellationToken cancellation_ = cancellationSource;
};

class DlnaSource : public testing::Test {
  protected:
    FillResult scan(const ListRequest &request = {}, const std::string &from = "0") {
        const std::string server = "uuid:1";
        return DirectoryScan(sink, {contentClient, server, from, std::chrono::seconds(1)}).run(request);
    }

    // Has each valid response changed before it is returned.
    void answerChanged(std::function<void(Page &page)> change) {
        contentClient.respond = [this, change = std::move(change)](const BrowseRequest &request, Page &page) {
            const Status status = contentClient.validPage(request, page);
            change(page);
            return status;
        };
    }

    ScriptedContentClient contentClient;
    Sink sink;
};

} // namespace

TEST_F(DlnaSource, AContainerIsListedWithWhatIsBelowIt) {
    contentClient.contents["0"] = {container("a", "A"), image("1", "one")};
    contentClient.contents["a"] = {container("b", "B"), image("2", "two")};
    contentClient.contents["b"] = {image("3", "three")};
    EXPECT_EQ(scan().status.code, MRB_ERR_NONE);
    EXPECT_THAT(sink.names(), ElementsAre("A", "one", "A/B", "A/two", "A/B/three"));
}

TEST_F(DlnaSource, APageIsFollowedWhereTheRequestBeforeStatesIt) {
    for (int number = 0; number < 1200; ++number) {
        contentClient.contents["0"].push_back(image(std::to_string(number), "one"));
    }
    EXPECT_EQ(scan().status.code, MRB_ERR_NONE);
    std::vector<bool> followed;
    for (const BrowseRequest &request : contentClient.requests) {
        followed.push_back(request.expectsNextPage);
    }
    EXPECT_THAT(followed, ElementsAre(false, true, false));
}

TEST_F(DlnaSource, AContainerIsRequestedInPagesOfFiveHundred) {
    for (int number = 0; number < 1200; ++number) {
        contentClient.contents["0"].push_back(image(std::to_string(number)));
    }
    EXPECT_EQ(scan().status.code, MRB_ERR_NONE);
    EXPECT_EQ(sink.store.size(), 1200);
    ASSERT_EQ(contentClient.requests.size(), 3U);
    EXPECT_EQ(contentClient.requests[2].start, 1000U);
    EXPECT_EQ(contentClient.requests[2].count, 500U);
}

TEST_F(DlnaSource, AfterAShortPageTheRestIsRequested) {
    contentClient.respond = [this](const BrowseRequest &request, Page &page) {
        BrowseRequest less = request;
        less.count = 2;
        return contentClient.validPage(less, page);
    };
    contentClient.contents["0"] = {image("1"), image("2"), image("3"), image("4"), image("5")};
    EXPECT_EQ(scan().status.code, MRB_ERR_NONE);
    EXPECT_EQ(sink.store.size(), 5);
}

TEST_F(DlnaSource, AServerThatDoesNotKnowItsTotalIsReadUntilNothingComes) {
    answerChanged([](Page &page) { page.total = 0; });
    contentClient.contents["0"] = {image("1"), image("2")};
    EXPECT_EQ(scan().status.code, MRB_ERR_NONE);
    EXPECT_EQ(sink.store.size(), 2);
    EXPECT_EQ(contentClient.requests.size(), 2U);
}

TEST_F(DlnaSource, ATotalThatIsTooLargeIsAFaultAndCostsNothing) {
    answerChanged([](Page &page) { page.total = 4'000'000'000; });
    contentClient.contents["0"] = {image("1"), container("a", "A")};
    contentClient.contents["a"] = {image("2")};
    const FillResult result = scan();
    EXPECT_EQ(result.status.code, MRB_ERR_PROTOCOL);
    EXPECT_THAT(result.status.message, HasSubstr("4000000000 objects and returns 2"));
    EXPECT_EQ(sink.store.size(), 3);
}

TEST_F(DlnaSource, ATotalThatIsTooSmallIsAFault) {
    answerChanged([](Page &page) { page.total = 1; });
    contentClient.contents["0"] = {image("1"), image("2")};
    EXPECT_EQ(scan().status.code, MRB_ERR_PROTOCOL);
    EXPECT_EQ(sink.store.size(), 2);
}

TEST_F(DlnaSource, ACountOfAPageThatIsWrongIsAFault) {
    answerChanged([](Page &page) { page.returned = 77; });
    contentClient.contents["0"] = {image("1"), image("2")};
    EXPECT_EQ(scan().status.code, MRB_ERR_PROTOCOL);
    EXPECT_EQ(sink.store.size(), 2);
}

TEST_F(DlnaSource, AServerThatRepeatsItselfForeverIsAbandoned) {
    contentClient.respond = [](const BrowseRequest & /*request*/, Page &page) {
        page.objects = {image("1"), image("2")};
        page.returned = 2;
        page.total = 0;
        return Status{};
    };
    const FillResult result = scan();
    EXPECT_EQ(result.status.code, MRB_ERR_PROTOCOL);
    EXPECT_THAT(result.status.message, HasSubstr("returns objects twice"));
    EXPECT_EQ(sink.store.size(), 2);
    EXPECT_EQ(contentClient.requests.size(), 2U);
}

TEST_F(DlnaSource, EndlessObjectsWithoutIdsAreAbandoned) {
    contentClient.respond = [](const BrowseRequest & /*request*/, Page &page) {
        page.objects.resize(500);
        page.returned = 500;
        return Status{};
    };
    const FillResult result = scan();
    EXPECT_EQ(sink.store.size(), 0);
    EXPECT_EQ(contentClient.requests.size(), DirectoryScan::MAX_BARREN_PAGES + 1U);
    EXPECT_EQ(result.leftOut, 500 * (DirectoryScan::MAX_BARREN_PAGES + 1));
    EXPECT_EQ(result.leftOutNames.size(), FillResult::MAX_NAMES);
}

TEST_F(DlnaSource, APageOfObjectsThatCannotBeUsedDoesNotEndTheContainer) {
    contentClient.contents["0"].resize(1000);
    contentClient.contents["0"].push_back(image("1"));
    const FillResult result = scan();
    EXPECT_EQ(result.status.code, MRB_ERR_NONE);
    EXPECT_EQ(result.leftOut, 1000);
    EXPECT_EQ(sink.store.size(), 1);
}

TEST_F(DlnaSource, TheNextPageBeginsAtTheReportedEndOfThisOne) {
    contentClient.respond = [this](const BrowseRequest &request, Page &page) {
        Status status = contentClient.validPage(request, page);
        if (request.start == 0) {
            page.objects.resize(1); // the others cannot be parsed
            status = Status::protocolError("broken");
        }
        return status;
    };
    for (int number = 0; number < 700; ++number) {
        contentClient.contents["0"].push_back(image(std::to_string(number)));
    }
    const FillResult result = scan();
    EXPECT_EQ(result.status.code, MRB_ERR_PROTOCOL);
    EXPECT_EQ(result.status.message, "broken");
    EXPECT_EQ(result.leftOut, 499);
    EXPECT_THAT(result.leftOutNames, ElementsAre(HasSubstr("499 of the objects from 0")));
    EXPECT_EQ(sink.store.size(), 201);
    EXPECT_EQ(contentClient.requests.at(1).start, 500U);
}

TEST_F(DlnaSource, ASlowServerGetsRequestsForSmallerPages) {
    contentClient.respond = [this](const BrowseRequest &request, Page &page) {
        return request.start > 0 && request.count > 100 ? Status::timedOut("too slow")
                                                        : contentClient.validPage(request, page);
    };
    for (int number = 0; number < 700; ++number) {
        contentClient.contents["0"].push_back(image(std::to_string(number)));
    }
    EXPECT_EQ(scan().status.code, MRB_ERR_NONE);
    EXPECT_EQ(sink.store.size(), 700);
}

TEST_F(DlnaSource, AServerThatDoesNotAnswerGetsNoMoreRequests) {
    contentClient.respond = [](const BrowseRequest & /*request*/, Page & /*page*/) {
        return Status::timedOut("silent");
    };
    EXPECT_EQ(scan().status.code, MRB_ERR_TIMEOUT);
    EXPECT_EQ(contentClient.requests.size(), 1U);
}

// It inserts new objects at the front while it is read.
TEST_F(DlnaSource, AContainerThatGrowsIsReadAgainForMissedObjects) {
    for (int number = 0; number < 600; ++number) {
        contentClient.contents["0"].push_back(image(std::to_string(number)));
    }
    contentClient.respond = [this](const BrowseRequest &request, Page &page) {
        Status status = contentClient.validPage(request, page);
        if (contentClient.requests.size() == 1) {
            auto &all = contentClient.contents["0"];
            for (int number = 600; number < 800; ++number) {
                all.insert(all.begin(), image(std::to_string(number)));
            }
        }
        return status;
    };
    EXPECT_EQ(scan().status.code, MRB_ERR_NONE);
    EXPECT_EQ(sink.store.size(), 800);
}

TEST_F(DlnaSource, AContainerThatShrinksIsNotAFailure) {
    for (int number = 0; number < 600; ++number) {
        contentClient.contents["0"].push_back(image(std::to_string(number)));
    }
    contentClient.respond = [this](const BrowseRequest &request, Page &page) {
        Status status = contentClient.validPage(request, page);
        contentClient.contents["0"].resize(550);
        return status;
    };
    EXPECT_EQ(scan().status.code, MRB_ERR_NONE);
    EXPECT_EQ(sink.store.size(), 550);
}

TEST_F(DlnaSource, AServerThatChangesForeverIsAbandoned) {
    contentClient.respond = [this](const BrowseRequest & /*request*/, Page &page) {
        page.objects = {image("1"), image("2")};
        page.returned = 2;
        page.total = 1'000'000 + static_cast<std::uint32_t>(contentClient.requests.size());
        return Status{};
    };
    EXPECT_EQ(scan().status.code, MRB_ERR_NONE);
    EXPECT_EQ(sink.store.size(), 2);
    EXPECT_LT(contentClient.requests.size(), 200U);
}

// As most servers do: by album, by date, by folder.
TEST_F(DlnaSource, WhatAServerThatDoesNotSearchShowsInSeveralFoldersIsFoundOnce) {
    const auto at = [](const std::string &id, const std::string &url) {
        MediaObject object = image(id);
        object.url = url;
        return object;
    };
    contentClient.contents["0"] = {container("a", "A"), container("b", "B")};
    contentClient.contents["a"] = {at("a1", "http://server/1.jpg"), at("a2", "")};
    contentClient.contents["b"] = {at("b1", "http://server/1.jpg"), at("b2", ""),
                                   at("b3", "http://server/3.jpg")};
    ListRequest request;
    request.contentType = "IMAGE";
    EXPECT_EQ(scan(request).status.code, MRB_ERR_NONE);
    EXPECT_THAT(sink.names(),
                ElementsAre("A", "B", "A/picture a1", "A/picture a2", "B/picture b2", "B/picture b3"));
}

TEST_F(DlnaSource, WithoutAFilterAnItemIsInEachOfItsFolders) {
    MediaObject object = image("1");
    object.url = "http://server/1.jpg";
    contentClient.contents["0"] = {container("a", "A"), object};
    contentClient.contents["a"] = {object};
    EXPECT_EQ(scan().status.code, MRB_ERR_NONE);
    EXPECT_THAT(sink.names(), ElementsAre("A", "picture 1", "A/picture 1"));
}

TEST_F(DlnaSource, ContainersInCirclesAreReadOnce) {
    contentClient.contents["0"] = {container("a", "A")};
    contentClient.contents["a"] = {container("0", "Root"), container("a", "A")};
    EXPECT_EQ(scan().status.code, MRB_ERR_NONE);
    EXPECT_THAT(sink.names(), ElementsAre("A", "A/Root", "A/A"));
    EXPECT_EQ(contentClient.requests.size(), 2U);
}

TEST_F(DlnaSource, ContainersWithoutEndAreReadToABound) {
    contentClient.respond = [](const BrowseRequest &request, Page &page) {
        page.objects = {container(request.container + "x", "deeper")};
        page.returned = page.total = 1;
        return Status{};
    };
    const FillResult result = scan();
    EXPECT_EQ(result.status.code, MRB_ERR_NONE);
    EXPECT_EQ(result.tooDeep, 1);
    EXPECT_EQ(sink.store.size(), DirectoryScan::MAX_LEVEL + 1);
}

TEST_F(DlnaSource, AServerThatGoesAwayInTheMiddleLeavesWhatItGave) {
    contentClient.contents["0"] = {container("a", "A"), image("1"), container("b", "B")};
    contentClient.contents["a"] = {image("2")};
    contentClient.respond = [this](const BrowseRequest &request, Page &page) {
        return request.container == "b" ? Status::deviceRemoved("gone")
                                        : contentClient.validPage(request, page);
    };
    EXPECT_EQ(scan().status.code, MRB_ERR_DEVICE_REMOVED);
    EXPECT_EQ(sink.store.size(), 4);
}

TEST_F(DlnaSource, AContainerThatIsNotThereAnyMoreIsCounted) {
    contentClient.contents["0"] = {container("a", "A"), container("b", "B")};
    contentClient.contents["b"] = {image("1")};
    const FillResult result = scan();
    EXPECT_EQ(result.status.code, MRB_ERR_NONE);
    EXPECT_EQ(result.unreadable, 1);
    EXPECT_EQ(sink.store.size(), 3);
}

TEST_F(DlnaSource, ABrokenPageKeepsWhatStandsBeforeTheFault) {
    contentClient.contents["0"] = {container("a", "A"), container("b", "B")};
    contentClient.contents["b"] = {image("2")};
    contentClient.respond = [this](const BrowseRequest &request, Page &page) {
        if (request.container == "a") {
            page.objects = {image("1")};
            return Status::protocolError("broken");
        }
        return contentClient.validPage(request, page);
    };
    const FillResult result = scan();
    EXPECT_EQ(result.status.code, MRB_ERR_PROTOCOL);
    EXPECT_THAT(sink.names(), ElementsAre("A", "B", "A/picture 1", "B/picture 2"));
}

TEST_F(DlnaSource, AContainerThatDoesNotExistFails) {
    EXPECT_EQ(scan({}, "nowhere").status.code, MRB_ERR_NOT_FOUND);
}

TEST_F(DlnaSource, ACancelledListSendsNoMoreRequests) {
    contentClient.contents["0"] = {image("1")};
    sink.cancellationSource.cancel();
    EXPECT_EQ(scan().status.code, MRB_ERR_CANCELLED);
}

TEST_F(DlnaSource, AContentTypeIsSearchedForWhereTheServerCan) {
    contentClient.contents["0"] = {image("1"), image("2")};
    contentClient.respond = [this](const BrowseRequest &request, Page &page) {
        if (request.kind == BrowseRequest::Kind::CAPABILITIES) {
            page.capabilities = "dc:title,upnp:class";
            return Status{};
        }
        return contentClient.validPage(request, page);
    };
    ListRequest request;
    request.contentType = "IMAGE";
    EXPECT_EQ(scan(request).status.code, MRB_ERR_NONE);
    ASSERT_EQ(contentClient.requests.size(), 2U);
    EXPECT_EQ(contentClient.requests[1].kind, BrowseRequest::Kind::SEARCH);
    EXPECT_EQ(contentClient.requests[1].criteria, R"(upnp:class derivedfrom "object.item.imageItem")");
    EXPECT_EQ(sink.announced, 2);
    EXPECT_EQ(sink.store.size(), 2);
}

TEST_F(DlnaSource, AServerThatCannotSearchIsWalkedThrough) {
    contentClient.contents["0"] = {container("a", "A")};
    contentClient.contents["a"] = {image("1")};
    contentClient.respond = [this](const BrowseRequest &request, Page &page) {
        return request.kind == BrowseRequest::Kind::CAPABILITIES ? Status{}
                                                                 : contentClient.validPage(request, page);
    };
    ListRequest request;
    request.contentType = "IMAGE";
    EXPECT_EQ(scan(request).status.code, MRB_ERR_NONE);
    EXPECT_EQ(sink.store.size(), 2);
}

TEST_F(DlnaSource, ASearchIsRetriedOnceAfterATransientRefusal) {
    for (int number = 0; number < 700; ++number) {
        contentClient.contents["0"].push_back(image(std::to_string(number)));
    }
    contentClient.respond = [this, refused = 0](const BrowseRequest &request, Page &page) mutable {
        page.capabilities = "*";
        if (request.kind == BrowseRequest::Kind::CAPABILITIES) {
            return Status{};
        }
        EXPECT_EQ(request.kind, BrowseRequest::Kind::SEARCH);
        // Each page once.
        const bool isRefused = refused <= static_cast<int>(request.start);
        refused = isRefused ? static_cast<int>(request.start) + 1 : refused;
        return isRefused ? Status::notSupported("708") : contentClient.validPage(request, page);
    };
    ListRequest request;
    request.keyWord = "picture";
    EXPECT_EQ(scan(request).status.code, MRB_ERR_NONE);
    EXPECT_EQ(sink.store.size(), 700);
}

TEST_F(DlnaSource, AServerThatRefusesItsOwnSearchIsWalkedThrough) {
    contentClient.contents["0"] = {image("1")};
    contentClient.respond = [this](const BrowseRequest &request, Page &page) {
        page.capabilities = "*";
        return request.kind == BrowseRequest::Kind::SEARCH     ? Status::notSupported("708")
               : request.kind == BrowseRequest::Kind::CHILDREN ? contentClient.validPage(request, page)
                                                               : Status{};
    };
    ListRequest request;
    request.keyWord = "picture";
    EXPECT_EQ(scan(request).status.code, MRB_ERR_NONE);
    EXPECT_EQ(sink.store.size(), 1);
}
