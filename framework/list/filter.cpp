#include "list/filter.h"

#include <algorithm>

#include "mrb/agent.h"

namespace mrb {
namespace {

constexpr std::string_view SEPARATORS = ",; \t";

// What users put in front of an extension: ".jpg", "*.jpg".
constexpr std::string_view PREFIX = "*.";

std::vector<std::string> readExtensions(std::string_view list) {
    std::vector<std::string> extensions;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find_first_of(SEPARATORS), list.size());
        std::string_view token = list.substr(0, end);
        list.remove_prefix(std::min(end + 1, list.size()));
        token.remove_prefix(std::min(token.find_first_not_of(PREFIX), token.size()));
        if (!token.empty()) {
            extensions.push_back(lowerCase(token));
        }
    }
    return extensions;
}

} // namespace

Status Filter::make(const ListRequest &request, Filter &filter) {
    const std::optional<TypeMask> types = typesOfContent(request.contentType);
    if (!types) {
        return Status::notSupported("The content type \"" + request.contentType + "\" is not supported.");
    }
    filter.types_ = *types;
    filter.extensions_ = readExtensions(request.extension);
    if (!request.extension.empty() && filter.extensions_.empty()) {
        return Status::invalidParameter("\"" + request.extension + "\" contains no file name extension.");
    }
    if (!request.keyWord.empty()) {
        filter.search_ = std::make_unique<NameSearch>(request.keyWord);
        if (!filter.search_->isMeaningful()) {
            return Status::invalidParameter("There is nothing to search for in \"" + request.keyWord + "\".");
        }
    }
    return {};
}

bool Filter::wants(std::uint8_t type) const {
    const bool hasExtension = type != MRB_ITEM_TYPE_FOLDER;
    return type < ITEM_TYPE_LIMIT && (types_ & maskOf(type)) != 0 && (hasExtension || extensions_.empty());
}

bool Filter::matches(const SourceItem &item) {
    if (!wants(item.type)) {
        return false;
    }
    if (!extensions_.empty()) {
        const std::string extension =
            lowerCase(item.extension.empty() ? extensionOf(item.name) : item.extension);
        if (std::ranges::find(extensions_, extension) == extensions_.end()) {
            return false;
        }
    }
    return !search_ || search_->isIn(item.name);
}

} // namespace mrb
