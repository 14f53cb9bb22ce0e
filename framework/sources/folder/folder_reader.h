#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sources/source.h"

namespace mrb {

// Sizes and times of one file or folder.
struct FileFacts {
    std::int64_t size = UNKNOWN;
    std::int64_t modified = UNKNOWN;
    std::int64_t created = UNKNOWN;
};

// A file or folder found in a folder.
struct FolderEntry {
    std::string name; // exact bytes
    std::string key;  // its place among its neighbours
    std::uint8_t type = 0;
    FileFacts facts; // of files, once they are completed; a folder's are asked for when it is opened
    bool complete = false;
};

// Folders in which other systems keep deleted files and indexes. Nobody means those.
bool isSystemFolder(const char *name);

// Reads the facts of `name` in the open folder `folder`; with an empty name those
// of the folder itself. Returns 0 or the system's error number.
int readFacts(int folder, const char *name, FileFacts &facts);

// Reads one folder after the other. Owned and used by one scan, on its thread.
class FolderReader {
  public:
    explicit FolderReader(const ItemSink &sink);
    ~FolderReader();
    FolderReader(const FolderReader &) = delete;
    FolderReader &operator=(const FolderReader &) = delete;

    // Collects the media files and the folders in the open folder `folder`, in
    // the order in which the system has them. Hidden entries, other files,
    // dangling links and links to folders are left out, as is what vanishes
    // meanwhile. Returns 0, ECANCELED when the sink stopped, or the system's
    // error number; what was collected before stays.
    int read(int folder, std::vector<FolderEntry> &files, std::vector<FolderEntry> &folders);

    // Makes the facts of a file found in the open folder `folder` complete. Apart
    // from `read`, so that a large folder's first files can be shown before the
    // facts of its last are known. Returns 0, ENOENT when there is no such file
    // any more, or the system's error number.
    static int complete(int folder, FolderEntry &file);

  private:
    int examine(int folder, const char *name, unsigned char kind, std::vector<FolderEntry> &files,
                std::vector<FolderEntry> &folders);

    const ItemSink &sink_;
    const std::unique_ptr<char[]> buffer_;
};

} // namespace mrb
