#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string>

namespace support {

// A folder of its own for one test, removed with everything in it.
class Folder {
  public:
    Folder();
    ~Folder();
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    [[nodiscard]] std::string path() const { return path_.string(); }
    [[nodiscard]] std::string path(const std::string &name) const { return (path_ / name).string(); }

    // Writes a file of `size` bytes, with the folders that it lies in.
    void file(const std::string &name, std::size_t size = 0) const;
    void files(std::initializer_list<const char *> names, std::size_t size = 0) const;
    void folder(const std::string &name) const;
    // Dates the last change of a file or folder, in seconds since 1970.
    void setModified(const std::string &name, std::int64_t seconds) const;
    void link(const std::string &target, const std::string &name) const;

    // `count` empty pictures "1.jpg", "2.jpg"... in each of `folders` folders.
    void pictures(int folders, int count) const;

    // `levels` folders called `name`, one in the other; works past any path length.
    void chain(const std::string &name, int levels) const;

  private:
    std::filesystem::path path_;
};

// While it lives, permissions bind this thread and those that it starts, also when the
// tests run as root: it gives up the capabilities that go past them, where it has any.
class UnprivilegedFiles {
  public:
    UnprivilegedFiles();
    ~UnprivilegedFiles();
    UnprivilegedFiles(const UnprivilegedFiles &) = delete;
    UnprivilegedFiles &operator=(const UnprivilegedFiles &) = delete;

  private:
    unsigned taken_ = 0;
};

} // namespace support
