#pragma once

#include <memory>
#include <string>

#include "base/cancellation.h"
#include "dlna/dlna_service.h"
#include "dlna/transfers.h"
#include "session/list_session.h"
#include "share/copy_source.h"

namespace mrb {

// The items of a DLNA server's list, which become files when they are downloaded. Owned and
// called as every CopySource is.
class ServerCopySource final : public CopySource {
  public:
    // The maximum that is read of a file of unknown size.
    static constexpr std::uint64_t MAX_BYTES = 4ULL << 30;

    ServerCopySource(std::shared_ptr<ListSession> list, dlna::DlnaService::Found server)
        : list_(std::move(list)), server_(std::move(server)) {}

    Status begin(const CancellationToken &cancellation) override;
    [[nodiscard]] bool isThere() override;
    Status open(const ItemInfo &item, const CancellationToken &cancellation, File &file) override;
    CopyResult copy(int destination, const std::function<bool(std::uint64_t)> &moved) override;

    // Converts titles to names that any file system accepts.
    [[nodiscard]] std::string pathOf(std::string path) const override;
    [[nodiscard]] std::string nameOf(const ItemInfo &item) const override;

  private:
    [[nodiscard]] Status judged(Status status) const;

    const std::shared_ptr<ListSession> list_;
    const dlna::DlnaService::Found server_;
    std::unique_ptr<dlna::Transfers> transfers_;
    CancellationToken cancellation_;
    // Of the most recently opened file.
    std::string name_;
    std::uint64_t maxBytes_ = 0; // bytes
    bool isExact_ = false;       // maxBytes_ is its exact size
};

} // namespace mrb
