#include "sources/playlist/entry_resolver.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "media/media_types.h"
#include "metadata/metadata.h"
#include "mrb/agent.h"
#include "sources/folder/folder_reader.h"
#include "sources/playlist/reference.h"
#include "sources/playlist/text_lines.h"
#include "text/text.h"

namespace mrb {
namespace {

// The maximum of folders in the cache; entries of one playlist rarely lie in more.
constexpr std::size_t MAX_FOLDERS = 4096;

// Players do not accept longer ones.
constexpr std::size_t MAX_URL_LENGTH = 8192;

std::string withSlashes(std::string_view path) {
    std::string text(path);
    std::ranges::replace(text, '\\', '/');
    return text;
}

std::string_view nameIn(std::string_view path) { return path.substr(path.rfind('/') + 1); }

ResolvedEntry targetOfUrl(const PlaylistEntry &entry) {
    ResolvedEntry target{ResolvedEntry::Kind::URL, utf8Of(entry.target)};
    // A line that players and people would read differently is not a URL.
    if (!isUrl(target.location) || target.location.size() > MAX_URL_LENGTH ||
        std::ranges::any_of(target.location,
                            [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; })) {
        return {};
    }
    std::string_view rest = target.location;
    rest.remove_prefix(rest.find("://") + 3);
    rest = rest.substr(0, rest.find_first_of("?#"));
    const std::size_t slash = rest.find('/');
    const std::string_view host = rest.substr(0, slash);
    const std::string_view name = slash == std::string_view::npos ? std::string_view() : nameIn(rest);
    if (!name.empty()) {
        target.name = percentDecoded(name, "/").value_or(std::string(name));
    } else {
        target.name = entry.title.empty() ? host : entry.title;
    }
    return host.empty() ? ResolvedEntry{} : target;
}

} // namespace

EntryResolver::EntryResolver(const std::string &realPlaylist, PlaylistScope scope)
    : folder_(realPlaylist.substr(0, realPlaylist.rfind('/'))), scope_(std::move(scope)) {}

ResolvedEntry EntryResolver::find(const PlaylistEntry &entry) {
    if (isFileUrl(entry.target)) {
        const std::optional<std::string_view> path = pathOfFileUrl(entry.target);
        return path ? findFile(*path, true) : ResolvedEntry{};
    }
    return isUrl(entry.target) ? targetOfUrl(entry) : findFile(entry.target, entry.isUri);
}

ResolvedEntry EntryResolver::findFile(std::string_view written, bool isUri) {
    ResolvedEntry target;
    for (const std::string &path : meanings(written, isUri)) {
        const std::string_view name = nameIn(path);
        if (mediaTypeOf(name) == nullptr) {
            continue;
        }
        if (target.kind == ResolvedEntry::Kind::NOTHING) {
            // The result when the file is not found under any path.
            target = {ResolvedEntry::Kind::MISSING, utf8Of(normalPath(path)), utf8Of(name)};
        }
        if (find(path, target)) {
            break;
        }
    }
    return target;
}

// The paths that the text may stand for, the most likely first.
std::vector<std::string> EntryResolver::meanings(std::string_view written, bool isUri) const {
    std::vector<std::string> spellings;
    const auto spell = [&spellings](std::string text) {
        if (!text.empty() && std::ranges::find(spellings, text) == spellings.end()) {
            spellings.push_back(std::move(text));
        }
    };
    const std::optional<std::string> decoded = percentDecoded(written);
    if (isUri && decoded) {
        spell(*decoded);
    }
    spell(std::string(written));
    if (!isUri && decoded) {
        spell(*decoded);
    }
    for (std::size_t number = 0, known = spellings.size(); number < known; ++number) {
        spell(utf8Of(spellings[number]));
    }
    std::vector<std::string> paths;
    const auto mean = [&paths](std::string path) {
        if (std::ranges::find(paths, path) == paths.end()) {
            paths.push_back(std::move(path));
        }
    };
    for (const std::string &spelling : spellings) {
        const std::string slashed = withSlashes(spelling);
        if (hasDrive(spelling)) {
            // A drive letter stands for the storage of the playlist.
            mean(scope_.own() + slashed.substr(2));
            continue;
        }
        for (const std::string &path : {spelling, slashed}) {
            if (path.starts_with('/')) {
                mean(path);
                mean(scope_.own() + path);
            } else {
                mean(folder_ + '/' + path);
            }
        }
    }
    return paths;
}

bool EntryResolver::find(const std::string &path, ResolvedEntry &target) {
    std::string allowed = scope_.resolve(path);
    if (allowed.empty()) {
        return false;
    }
    const std::size_t slash = allowed.rfind('/');
    const std::string &folder = realFolder(allowed.substr(0, slash));
    if (folder.empty()) {
        return false;
    }
    std::string real = (folder == "/" ? "" : folder) + allowed.substr(slash);
    struct stat status {};
    if (!scope_.holds(real) || lstat(real.c_str(), &status) != 0) {
        return false;
    }
    if (S_ISLNK(status.st_mode)) {
        real = realPath(real);
        if (real.empty() || !scope_.holds(real)) {
            return false;
        }
    }
    FileStat stat;
    if (FolderReader::readFile(AT_FDCWD, real.c_str(), stat) != 0) {
        return false;
    }
    target = {ResolvedEntry::Kind::FILE, real, std::string(nameIn(allowed)), stat};
    return true;
}

const std::string &EntryResolver::realFolder(const std::string &folder) {
    const auto known = realFolders_.find(folder);
    if (known != realFolders_.end()) {
        return known->second;
    }
    if (realFolders_.size() >= MAX_FOLDERS) {
        realFolders_.clear();
    }
    return realFolders_[folder] = realPath(folder.empty() ? "/" : folder);
}

} // namespace mrb
