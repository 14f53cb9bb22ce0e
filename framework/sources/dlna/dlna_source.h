#pragma once

#include <memory>
#include <string>

#include "dlna/dlna_service.h"
#include "sources/source.h"

namespace mrb {

// A list source: a container of a DLNA server's content directory with everything in it. Owned
// and called as every Source is.
class DlnaSource final : public Source {
  public:
    // The timeout for one page.
    static constexpr auto TIMEOUT = std::chrono::seconds(15);

    // `request.path` is the server's id, or its address if that is unique; `request.folderId` is
    // the id of one of its objects or the media id of one of its folders; empty: the root.
    static Status make(const ListRequest &request, std::unique_ptr<Source> &source);

    // Whether it is the media id of an item of the server.
    static bool isMediaId(const std::string &server, const std::string &mediaId);
    // The object id in a media id of the server; any other text is returned as an object id.
    static std::string objectId(const std::string &server, const std::string &idOrMediaId);

    DlnaSource(dlna::DlnaService::Found server, std::string container, ListRequest request);

    FillResult fill(ItemSink &sink) override;
    [[nodiscard]] ItemLocation locationOf(const ItemInfo &item) const override;
    [[nodiscard]] Status checkAvailable(const ItemInfo &item) const override;
    [[nodiscard]] std::optional<SourceMetadata> sourceMetadata(const ItemInfo &item) const override;
    [[nodiscard]] std::optional<ItemInfo> findByMediaId(const std::string &mediaId) const override;

  private:
    const dlna::DlnaService::Found server_;
    const std::string container_;
    const ListRequest request_;
};

} // namespace mrb
