#pragma once
// The thumbnail service's commands.

#include <string>

#include "MRBAdapter.h"

namespace MRBBridge {

/// Owned by the provider; commands run on the main thread. The service is started
/// once, by the constructor, and stopped by the destructor whatever came of that.
class CMRBThumbnailAdapter final : public CMRBAdapter {
  public:
    CMRBThumbnailAdapter();
    ~CMRBThumbnailAdapter() override;

    std::string ThumbnailRequestAsync(const std::string &strParam);
    std::string ThumbnailRequestCancel(const std::string &strParam);
    std::string ThumbnailRequestCancelAll();
    std::string ThumbnailStopPtpDecodeSync();
    std::string ThumbnailFlashCacheInit();

  private:
    bool initialised_ = false; ///< whether the service started
};

} // namespace MRBBridge
