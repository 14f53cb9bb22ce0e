// The table of sources. A new source is a folder next to this file and a line here.

#include "sources/dlna/dlna_source.h"
#include "sources/folder/folder_source.h"
#include "sources/playlist/playlist_source.h"
#include "sources/ptp/ptp_source.h"
#include "sources/source.h"

namespace mrb {
namespace {

struct Entry {
    const char *name;
    Status (*make)(const ListRequest &request, std::unique_ptr<Source> &source);
    bool readsPrepareData = false; // else a request with prepare data is refused
};

constexpr Entry SOURCES[] = {
    {"SOURCE_MSC", FolderSource::make},
    {"SOURCE_DLNA", DlnaSource::make},
    {"SOURCE_PTP", PtpSource::make},
    {"SOURCE_PLAYLIST", PlaylistSource::make, true},
};

} // namespace

Status makeSource(const ListRequest &request, std::unique_ptr<Source> &source) {
    for (const Entry &entry : SOURCES) {
        if (request.source == entry.name) {
            if (!request.prepareData.empty() && !entry.readsPrepareData) {
                return Status::notSupported("The source does not support prepare data.");
            }
            return entry.make(request, source);
        }
    }
    return Status::invalidParameter("There is no source \"" + request.source + "\".");
}

} // namespace mrb
