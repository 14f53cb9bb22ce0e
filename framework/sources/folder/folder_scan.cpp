#include "sources/folder/folder_scan.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "base/log.h"
#include "mrb/agent.h"

namespace mrb {
namespace {

// Items handed over under one lock: enough that locking costs nothing, few enough
// that a script asking for an item never waits.
constexpr std::size_t RUN_LENGTH = 256;

} // namespace

FolderScan::FolderScan(ItemSink &sink, const std::string &path) : sink_(sink), path_(path), reader_(sink) {}

FillResult FolderScan::run(Descriptor folder) {
    const auto root = std::make_shared<Descriptor>(std::move(folder));
    Step step = readContents(root, ROOT_FOLDER, 0, "");
    while (step == Step::GO_ON && !pending_.empty()) {
        const Pending next = std::move(pending_.back());
        pending_.pop_back();
        step = sink_.stopped() ? end({MRB_ERR_CANCELLED, {}}) : visit(next);
    }
    return std::move(result_);
}

FolderScan::Step FolderScan::visit(const Pending &pending) {
    // Never through a link: what was a folder a moment ago may be a link by now.
    Descriptor folder(openat(pending.parent->number(), pending.name.c_str(),
                             O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    const int error = folder ? 0 : errno;
    if (error == ENOENT || error == ENOTDIR || error == ELOOP) {
        return Step::GO_ON;
    }
    FileFacts facts;
    if (folder) {
        readFacts(folder.number(), "", facts);
    } else {
        readFacts(pending.parent->number(), pending.name.c_str(), facts);
    }
    const std::int32_t number = sink_.addFolder(pending.parentFolder, pending.name);
    const SourceItem item{.name = pending.name,
                          .folder = pending.parentFolder,
                          .type = MRB_ITEM_TYPE_FOLDER,
                          .modified = facts.modified,
                          .created = facts.created,
                          .opens = number};
    if (number < 0 || !sink_.add({&item, 1})) {
        return end({MRB_ERR_CANCELLED, {}});
    }
    if (!folder) {
        return failed(error, pending.level, pending.name);
    }
    if (pending.level > DEEPEST_LEVEL) {
        ++result_.tooDeep;
        return Step::GO_ON;
    }
    return readContents(std::make_shared<Descriptor>(std::move(folder)), number, pending.level, pending.name);
}

FolderScan::Step FolderScan::readContents(const std::shared_ptr<Descriptor> &folder, std::int32_t number,
                                          int level, const std::string &name) {
    std::vector<FolderEntry> files;
    std::vector<FolderEntry> folders;
    sink_.follow(number, folder->number());
    const int error = reader_.read(folder->number(), files, folders);
    sort(files);
    if (addFiles(files, number) == Step::END) {
        return Step::END;
    }
    if (error != 0 && failed(error, level, name) == Step::END) {
        return Step::END;
    }
    sort(folders);
    for (auto next = folders.rbegin(); next != folders.rend(); ++next) {
        pending_.push_back({folder, std::move(next->name), number, level + 1});
    }
    return Step::GO_ON;
}

// A folder that cannot be read costs its own contents only, unless it is the one
// that the list was opened on, or the whole device is gone.
FolderScan::Step FolderScan::failed(int error, int level, const std::string &name) {
    const Outcome outcome = outcomeOfErrno(error, level == 0 ? path_ : name);
    if (level == 0 || outcome.code == MRB_ERR_CANCELLED || outcome.code == MRB_ERR_DEVICE_REMOVED) {
        return end(outcome);
    }
    if (error != ENOENT) {
        ++result_.unreadable;
        MRB_LOG_WARNING("Folder not read: %s (below %s)", outcome.message.c_str(), path_.c_str());
    }
    return Step::GO_ON;
}

FolderScan::Step FolderScan::addFiles(const std::vector<FolderEntry> &files, std::int32_t folder) {
    std::vector<SourceItem> run;
    run.reserve(std::min(files.size(), RUN_LENGTH));
    for (const FolderEntry &file : files) {
        run.push_back(
            {file.name, {}, folder, file.type, file.facts.size, file.facts.modified, file.facts.created});
        if (run.size() == RUN_LENGTH || &file == &files.back()) {
            if (!sink_.add(run)) {
                return end({MRB_ERR_CANCELLED, {}});
            }
            run.clear();
        }
    }
    return Step::GO_ON;
}

FolderScan::Step FolderScan::end(Outcome outcome) {
    result_.outcome = std::move(outcome);
    return Step::END;
}

void FolderScan::sort(std::vector<FolderEntry> &entries) {
    for (FolderEntry &entry : entries) {
        entry.key = order_.key(entry.name);
    }
    std::ranges::sort(entries, {}, &FolderEntry::key);
}

} // namespace mrb
