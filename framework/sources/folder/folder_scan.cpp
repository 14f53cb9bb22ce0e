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
    int error = reader_.read(folder->number(), files, folders);
    if (!sort(files) || !addFiles(*folder, files, number, error)) {
        return end({MRB_ERR_CANCELLED, {}});
    }
    if (error != 0 && failed(error, level, name) == Step::END) {
        return Step::END;
    }
    if (!sort(folders)) {
        return end({MRB_ERR_CANCELLED, {}});
    }
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

bool FolderScan::addFiles(const Descriptor &folder, std::vector<FolderEntry> &files, std::int32_t number,
                          int &failure) {
    std::vector<SourceItem> run;
    run.reserve(std::min(files.size(), RUN_LENGTH));
    for (FolderEntry &file : files) {
        if (sink_.stopped()) {
            return false;
        }
        const int error = FolderReader::complete(folder.number(), file);
        if (error == 0) {
            run.push_back(
                {file.name, {}, number, file.type, file.facts.size, file.facts.modified, file.facts.created});
        } else if (error != ENOENT && failure == 0) {
            failure = error;
        }
        if (run.size() == RUN_LENGTH) {
            if (!sink_.add(run)) {
                return false;
            }
            run.clear();
        }
    }
    return run.empty() || sink_.add(run);
}

FolderScan::Step FolderScan::end(Outcome outcome) {
    result_.outcome = std::move(outcome);
    return Step::END;
}

bool FolderScan::sort(std::vector<FolderEntry> &entries) {
    for (FolderEntry &entry : entries) {
        if (sink_.stopped()) {
            return false;
        }
        entry.key = order_.key(entry.name);
    }
    // A standard sort cannot be left but by an exception, and a large one takes
    // longer than a cancel may.
    struct Stopped {};
    try {
        std::ranges::sort(entries, [this](const FolderEntry &left, const FolderEntry &right) {
            if (sink_.stopped()) {
                throw Stopped();
            }
            return left.key < right.key;
        });
    } catch (const Stopped &) {
        return false;
    }
    return true;
}

} // namespace mrb
