#pragma once
// The thumbnail service's commands and results.

#include <cstdint>
#include <string>
#include <vector>

#include "MRBAdapter.h"
#include "mrb/thumbnail.h"

namespace MRBBridge {

class CMRBThumbnailAdapter;

/// The data of a request that its result needs: the user data of the request's record.
/// Created on the main thread, owned by the framework from the call on; the result
/// callback takes its contents and deletes it before it does anything else. The framework
/// never passes on that of a cancelled request, nor that of the cancel.
struct ThumbRequestContext {
    CMRBThumbnailAdapter *adapter; ///< outlives all callbacks of the framework
    int32_t user_data;             ///< the script's own number
    bool use_flash_cache;          ///< store in the flash cache, not in bitmap files
    std::vector<std::string> save_paths;
};

/// Owned by the provider; commands run on the main thread, m_MrbThumbnailRecv on
/// framework threads. The constructor starts the service, once; the destructor stops it,
/// even if it did not start.
class CMRBThumbnailAdapter final : public CMRBAdapter {
  public:
    CMRBThumbnailAdapter();
    ~CMRBThumbnailAdapter() override;

    std::string ThumbnailRequestAsync(const std::string &strParam);
    std::string ThumbnailRequestCancel(const std::string &strParam);
    std::string ThumbnailRequestCancelAll();
    std::string ThumbnailStopPtpDecodeSync();
    std::string ThumbnailFlashCacheInit();

    /// Turns a request's text into the framework's record, whose user data are a new
    /// ThumbRequestContext. The record points into `strPath`, which must outlive it.
    /// False, with nothing allocated and `strPath` as it was, when there is no path.
    bool m_GetThumbRequest(const std::string &strParam, _thumb_request &request, std::string &strPath);

    /// Stores a result's images, releases the framework's buffers if it tried to store
    /// any, and delivers a document. Returns 1 for a success, 0 for a failure.
    static int m_MrbThumbnailRecv(int request_result, thumb_result_s *thumb_result, void *user_data);

    /// Writes a 32-bit bitmap file of width x height pixels, rows top to bottom in
    /// `buffer`, followed by the MRB_THUMB_PRESET_BYTES of `bufferPreset` where that is
    /// not null. Returns 0, or -1 when `buffer` is null, the size is negative, or the file
    /// or its header cannot be written. Any thread.
    static int m_BmpWrite(const unsigned char *buffer, const char *bufferPreset, int width, int height,
                          const char *path);

  private:
    bool initialised_ = false; ///< whether the service started
};

} // namespace MRBBridge
