#include "share/folder_origin.h"

#include "mrb/agent.h"

namespace mrb {

Outcome FolderOrigin::open(const ItemFacts &item, const Stopped & /*isStopped*/, File &file) {
    std::string path = item.folder;
    path.append(path.empty() ? "" : "/").append(item.name);
    return item.type == MRB_ITEM_TYPE_FOLDER ? openFolder(path, item.name)
                                             : openFile(path, LastLink::FOLLOWED, item.name, file);
}

} // namespace mrb
