#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mrb {

// False for names that must never reach the file system: an empty one, ".", "..", and any with a
// slash or a zero byte.
bool isPlainName(std::string_view name);

// `name` with everything replaced by '_' that Windows' file systems refuse: control
// characters and \ : * ? " < > |, bytes that are not UTF-8, and a dot or blank at
// the end.
std::string portableName(std::string_view name);

// `path`, names joined with '/', with `rename` applied to every name.
std::string renamedPath(std::string_view path, std::string (*rename)(std::string_view name));

// `name` with " (number)" before its extension, or at the end of a folder's name; unchanged for
// 0. At most `mostBytes` long: a longer name is cut before the number, between characters.
std::string numberedName(std::string_view name, unsigned number, bool isFolder, std::size_t maxBytes);

// The names that are tried at the destination in order: the item's own; with a number when that
// is taken; portable or shorter when the file system refuses it. Owned and used by one thread.
class NameCandidates {
  public:
    static constexpr unsigned MAX_NUMBERS = 10'000;

    NameCandidates(std::string_view name, bool isFolder) : name_(name), isFolder_(isFolder) {}

    [[nodiscard]] std::string current() const { return numberedName(name_, number_, isFolder_, maxBytes_); }

    // Advances to the next name after the current one failed with `error`; false: another name
    // would fail too.
    [[nodiscard]] bool next(int error);

  private:
    std::string name_;
    bool isFolder_;
    bool isPortable_ = false;
    unsigned number_ = 0;
    std::size_t maxBytes_ = std::string::npos;
};

} // namespace mrb
