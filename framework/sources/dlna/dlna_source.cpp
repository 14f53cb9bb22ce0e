#include "sources/dlna/dlna_source.h"

#include <utility>

#include "media/media_types.h"
#include "mrb/agent.h"
#include "sources/dlna/directory_scan.h"
#include "sources/dlna/object_record.h"
#include "text/text.h"

namespace mrb {
namespace {

constexpr const char *ROOT_CONTAINER = "0";

// A media id is the scheme, the server's id, '/', and the object's id.
constexpr std::string_view MEDIA_ID_SCHEME = "dlna:";

std::string mediaIdOf(const std::string &server, const std::string &object) {
    return std::string(MEDIA_ID_SCHEME).append(server).append("/").append(object);
}

// The object's id in a media id; no value: it is not a media id of that server.
std::optional<std::string> objectOf(const std::string &server, const std::string &mediaId) {
    const std::string start = mediaIdOf(server, "");
    if (!mediaId.starts_with(start) || mediaId.size() == start.size()) {
        return std::nullopt;
    }
    return mediaId.substr(start.size());
}

} // namespace

Status DlnaSource::make(const ListRequest &request, std::unique_ptr<Source> &source) {
    if (request.folderId != cleanText(request.folderId)) {
        return Status::invalidParameter("The folder id is not a text that a server could have returned.");
    }
    dlna::DlnaService::Found server;
    Status status = dlna::DlnaService::instance().find(request.path, server);
    if (!status.ok()) {
        return status;
    }
    std::string container = objectId(server.id, request.folderId);
    if (container.empty()) {
        container = ROOT_CONTAINER;
    }
    source = std::make_unique<DlnaSource>(std::move(server), std::move(container), request);
    return status;
}

bool DlnaSource::isMediaId(const std::string &server, const std::string &mediaId) {
    return objectOf(server, mediaId).has_value();
}

std::string DlnaSource::objectId(const std::string &server, const std::string &idOrMediaId) {
    return objectOf(server, idOrMediaId).value_or(idOrMediaId);
}

DlnaSource::DlnaSource(dlna::DlnaService::Found server, std::string container, ListRequest request)
    : server_(std::move(server)), container_(std::move(container)), request_(std::move(request)) {}

FillResult DlnaSource::fill(ItemSink &sink) {
    return DirectoryScan(sink, {*server_.contentClient, server_.id, container_, TIMEOUT}).run(request_);
}

ItemLocation DlnaSource::locationOf(const ItemInfo &item) const {
    ItemLocation location;
    const bool isFolder = item.type == MRB_ITEM_TYPE_FOLDER || item.type == MRB_ITEM_TYPE_UPFOLDER;
    location.mediaId = mediaIdOf(server_.id, item.id.empty() ? container_ : item.id);
    ObjectRecord record = unpackRecord(item.record);
    location.thumbnail = std::move(record.thumbnail);
    location.url = std::move(record.url);
    location.mimeType = isFolder ? FOLDER_MIME_TYPE : record.metadata.text(MetadataKey::MIME_TYPE);
    return location;
}

Status DlnaSource::checkAvailable(const ItemInfo & /*item*/) const {
    if (dlna::DlnaService::instance().isThere(server_.id)) {
        return {};
    }
    return Status::deviceRemoved("The DLNA server \"" + server_.name + "\" is not available any more.");
}

std::optional<SourceMetadata> DlnaSource::sourceMetadata(const ItemInfo &item) const {
    return SourceMetadata{unpackRecord(item.record).metadata};
}

std::optional<ItemInfo> DlnaSource::findByMediaId(const std::string &mediaId) const {
    std::optional<std::string> object = objectOf(server_.id, mediaId);
    if (!object) {
        return std::nullopt;
    }
    ItemInfo item;
    item.id = *std::move(object);
    return item;
}

} // namespace mrb
