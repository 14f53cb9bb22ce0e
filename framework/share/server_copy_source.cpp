#include "share/server_copy_source.h"

#include <sys/stat.h>

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>

#include "dlna/server_probe.h"
#include "media/media_types.h"
#include "media/mime_extension.h"
#include "mrb/agent.h"
#include "share/file_copy.h"
#include "share/file_names.h"
#include "sources/dlna/object_record.h"
#include "text/text.h"

namespace mrb {
namespace {

constexpr mode_t COPIED_MODE = 0666;

// HTML pages, such as error pages.
bool isPage(std::string_view mimeType) {
    return mimeType == "text/html" || mimeType == "application/xhtml+xml";
}

bool isMedia(std::uint8_t type) {
    return type == MRB_ITEM_TYPE_IMAGE || type == MRB_ITEM_TYPE_MUSIC || type == MRB_ITEM_TYPE_VIDEO;
}

// Whether the announced response matches the item of the list.
Status compared(const dlna::Transfers::Promise &promise, const ItemInfo &item) {
    if (isMedia(item.type) && isPage(promise.mimeType)) {
        return Status::protocolError("The server sends " + promise.mimeType + " in its place.");
    }
    if (promise.size != UNKNOWN && item.size != UNKNOWN && promise.size != item.size) {
        return Status::protocolError("The server lists " + std::to_string(item.size) + " bytes and sends " +
                                     std::to_string(promise.size) + ".");
    }
    return {};
}

// A single name of a file.
std::string plainName(std::string_view title) {
    std::string name = portableName(title);
    std::ranges::replace(name, '/', '_');
    return isPlainName(name) ? name : "_";
}

} // namespace

Status ServerCopySource::begin(const CancellationToken &cancellation) {
    cancellation_ = cancellation;
    return server_.contentClient->connect(server_.id, cancellation, transfers_);
}

bool ServerCopySource::isThere() { return dlna::DlnaService::instance().isThere(server_.id); }

Status ServerCopySource::open(const ItemInfo &item, const CancellationToken &cancellation, File &file) {
    if (item.type == MRB_ITEM_TYPE_FOLDER) {
        return {};
    }
    name_ = displayText(item.name);
    const ItemLocation location = list_->items().locationOf(item);
    if (location.url.empty()) {
        return Status::notSupported(name_ + ": the server has no URL of it.");
    }
    dlna::Transfers::Promise promise;
    Status status = transfers_->beginDownload(location.url, cancellation, promise);
    if (status.ok()) {
        status = compared(promise, item);
    }
    if (!status.ok()) {
        return judged(std::move(status));
    }
    const std::int64_t size = promise.size != UNKNOWN ? promise.size : item.size;
    isExact_ = size != UNKNOWN;
    maxBytes_ = isExact_ ? static_cast<std::uint64_t>(size) : MAX_BYTES;
    file.size = isExact_ ? maxBytes_ : 0;
    file.mode = COPIED_MODE;
    file.times[0].tv_nsec = UTIME_NOW;
    file.times[1].tv_nsec = item.modified == UNKNOWN ? UTIME_NOW : 0;
    file.times[1].tv_sec = item.modified == UNKNOWN ? 0 : item.modified;
    return {};
}

CopyResult ServerCopySource::copy(int destination, const std::function<bool(std::uint64_t)> &moved) {
    CopyResult result;
    FileWriter writer(destination);
    const auto take = [&](std::span<const char> bytes) {
        if (bytes.size() > maxBytes_ - result.bytes) {
            result.source = Status::protocolError(name_ + ": the server sent more bytes than it reported.");
            return false;
        }
        result.destinationError = writer.write(bytes);
        if (result.destinationError != 0) {
            return false;
        }
        result.bytes += bytes.size();
        result.isCancelled = !moved(result.bytes);
        return !result.isCancelled;
    };
    Status status = transfers_->finishDownload(take, cancellation_);
    result.isCancelled = result.isCancelled || status.code == MRB_ERR_CANCELLED;
    if (result.isCancelled || result.destinationError != 0 || !result.source.ok()) {
        return result;
    }
    if (status.ok() && isExact_ && result.bytes < maxBytes_) {
        status = Status::protocolError("The server sent fewer bytes than it reported.");
    }
    result.source = judged(std::move(status));
    return result;
}

Status ServerCopySource::judged(Status status) const {
    status = dlna::classifyDisconnect(*server_.contentClient, server_.id, std::move(status), cancellation_);
    if (!status.ok()) {
        status.message = name_ + ": " + status.message;
    }
    return status;
}

std::string ServerCopySource::pathOf(std::string path) const { return renamedPath(path, plainName); }

// A title is not a file name: the extension comes from the URL, or else from the MIME type.
std::string ServerCopySource::nameOf(const ItemInfo &item) const {
    const ItemLocation location = list_->items().locationOf(item);
    std::string_view extension = extensionOfUrl(location.url);
    if (mediaTypeOf("x." + std::string(extension)) == nullptr) {
        extension = extensionOfMime(location.mimeType);
    }
    std::string name = item.name;
    if (!extension.empty() && lowerCase(extensionOf(name)) != lowerCase(extension)) {
        name.append(".").append(extension);
    }
    return plainName(name);
}

} // namespace mrb
