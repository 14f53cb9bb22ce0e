#include "share/copy_plan.h"

#include <algorithm>
#include <optional>

#include "mrb/agent.h"

namespace mrb {
namespace {

bool isInOrBelow(const std::string &path, const std::string &folder) {
    return folder.empty() ||
           (path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/'));
}

} // namespace

std::string commonFolder(const std::string &one, const std::string &other) {
    std::string common = one;
    while (!isInOrBelow(other, common)) {
        const std::size_t slash = common.rfind('/');
        common.resize(slash == std::string::npos ? 0 : slash);
    }
    return common;
}

CopyPlan planCopy(const List &list, const Selection &selection, std::uint64_t block,
                  const CancellationToken &cancellation) {
    CopyPlan plan;
    plan.items = list.expand(selection);
    bool isFirst = true;
    for (const std::int32_t item : plan.items) {
        if (cancellation.isCancelled()) {
            break;
        }
        const ItemInfo info = list.infoOf(item);
        if (isFirst || !isInOrBelow(info.folder, plan.common)) {
            plan.common = isFirst ? info.folder : commonFolder(plan.common, info.folder);
            isFirst = false;
        }
        if (info.type != MRB_ITEM_TYPE_FOLDER) {
            const auto size = static_cast<std::uint64_t>(std::max<std::int64_t>(info.size, 0));
            ++plan.files;
            plan.bytes += size;
            plan.needed += (size + block - 1) / block * block;
        }
    }
    return plan;
}

} // namespace mrb
