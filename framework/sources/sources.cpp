// The table of sources. A new source is a folder beside this file and a line here.

#include "sources/dlna/dlna_source.h"
#include "sources/folder/folder_source.h"
#include "sources/playlist/playlist_source.h"
#include "sources/ptp/ptp_source.h"
#include "sources/source.h"

namespace mrb {
namespace {

struct Entry {
    const char *name;
    Outcome (*make)(const ListRequest &request, std::unique_ptr<Source> &source);
    bool readsPrepareData = false; // else a request with some is refused
};

constexpr Entry SOURCES[] = {
    {"SOURCE_MSC", FolderSource::make},
    {"SOURCE_DLNA", DlnaSource::make},
    {"SOURCE_PTP", PtpSource::make},
    {"SOURCE_PLAYLIST", PlaylistSource::make, true},
};

} // namespace

Outcome makeSource(const ListRequest &request, std::unique_ptr<Source> &source) {
    for (const Entry &entry : SOURCES) {
        if (request.source == entry.name) {
            if (!request.prepareData.empty() && !entry.readsPrepareData) {
                return {MRB_ERR_NOT_SUPPORTED, "Play data is not prepared while a list is opened."};
            }
            return entry.make(request, source);
        }
    }
    return {MRB_ERR_INVALID_PARAMETER, "There is no source \"" + request.source + "\"."};
}

} // namespace mrb
