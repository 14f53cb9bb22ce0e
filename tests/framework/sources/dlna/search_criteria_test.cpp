// The search criteria of a list request.

#include <gtest/gtest.h>

#include "sources/dlna/search_criteria.h"

using mrb::ListRequest;

TEST(DlnaCriteria, HoldTheContentTypeAndTheKeyWordInQuotes) {
    ListRequest request;
    request.contentType = "MUSIC";
    request.keyWord = R"(say "hi" \o/)";
    EXPECT_EQ(mrb::searchCriteria(request, "upnp:class, dc:title"),
              R"(upnp:class derivedfrom "object.item.audioItem" and dc:title contains "say \"hi\" \\o/")");
    EXPECT_EQ(mrb::searchCriteria(request, "dc:titles,upnp:class"),
              R"(upnp:class derivedfrom "object.item.audioItem")");
    EXPECT_EQ(mrb::searchCriteria(request, ""), "");
}
