#include "share/folder_copy_source.h"

#include "mrb/agent.h"

namespace mrb {

Status FolderCopySource::open(const ItemInfo &item, const CancellationToken & /*cancellation*/, File &file) {
    std::string path = item.folder;
    path.append(path.empty() ? "" : "/").append(item.name);
    if (item.type != MRB_ITEM_TYPE_FOLDER) {
        return openFile(path, LastLink::FOLLOWED, list_->source().mountOf(item), item.name, file);
    }
    ItemInfo inside;
    inside.folder = path;
    return openFolder(path, list_->source().mountOf(inside), item.name);
}

MountIdentity FolderCopySource::mountOfRoot() const { return list_->source().mountOf(ItemInfo()); }

} // namespace mrb
