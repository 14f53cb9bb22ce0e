#include "sources/dlna/search_criteria.h"

#include <algorithm>

#include "metadata/metadata.h"

namespace mrb {
namespace {

constexpr std::string_view CLASS = "upnp:class";
constexpr std::string_view TITLE = "dc:title";

struct ContentClass {
    std::string_view contentType;
    std::string_view upnpClass;
};
// Without folders and playlists: their classes differ from server to server.
constexpr ContentClass CLASSES[] = {
    {"IMAGE", "object.item.imageItem"},
    {"MUSIC", "object.item.audioItem"},
    {"VIDEO", "object.item.videoItem"},
};

std::string_view classOf(const ListRequest &request) {
    for (const ContentClass &each : CLASSES) {
        if (each.contentType == request.contentType) {
            return each.upnpClass;
        }
    }
    return {};
}

// For lists such as "dc:title, upnp:class".
bool isIn(std::string_view capabilities, std::string_view wanted) {
    constexpr std::string_view SEPARATORS = ", \t\r\n";
    while (!capabilities.empty()) {
        const std::size_t end = std::min(capabilities.find_first_of(SEPARATORS), capabilities.size());
        const std::string_view word = capabilities.substr(0, end);
        if (word == wanted || word == "*") {
            return true;
        }
        capabilities.remove_prefix(std::min(end + 1, capabilities.size()));
    }
    return false;
}

std::string quoted(std::string_view text) {
    std::string all = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\') {
            all += '\\';
        }
        all += letter;
    }
    return all + '"';
}

} // namespace

bool isWorthSearching(const ListRequest &request) {
    return !classOf(request).empty() || !request.keyWord.empty();
}

std::string searchCriteria(const ListRequest &request, std::string_view capabilities) {
    const std::string_view upnpClass = classOf(request);
    std::string criteria;
    if (!upnpClass.empty() && isIn(capabilities, CLASS)) {
        criteria.append(CLASS).append(" derivedfrom ").append(quoted(upnpClass));
    }
    const std::string keyWord = cleanText(request.keyWord);
    if (!keyWord.empty() && isIn(capabilities, TITLE)) {
        criteria.append(criteria.empty() ? "" : " and ").append(TITLE).append(" contains ");
        criteria.append(quoted(keyWord));
    }
    return criteria;
}

} // namespace mrb
