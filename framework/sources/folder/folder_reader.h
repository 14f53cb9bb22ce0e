#pragma once

#include <cstdint>
#include <memory>

#include "sources/folder/folder_contents.h"
#include "sources/source.h"

namespace mrb {

// Reads size and times of `name` in the open folder `folder`; with an empty name those of the
// folder itself. Returns 0 or the system's error number.
int statFile(int folder, const char *name, FileStat &stat);

// Reads one folder after the other. Owned and used by one scan, on its thread.
class FolderReader {
  public:
    explicit FolderReader(const ItemSink &sink);
    ~FolderReader();
    FolderReader(const FolderReader &) = delete;
    FolderReader &operator=(const FolderReader &) = delete;

    // Collects the media files and the folders in the open folder `folder`, in the order in which
    // the system lists them. Hidden entries, other files, dangling links, links to folders, and
    // entries that vanish during the call are left out. Returns 0, ECANCELED when the sink was
    // cancelled, ENOMEM when there are too many, or the system's error number; what was collected
    // before stays.
    int read(int folder, FolderContents &files, FolderContents &folders);

    // Reads size and times of the file `name` in the open folder `folder`. Apart from `read`, so
    // that a large folder's first files can be shown before the last ones are read. Returns 0,
    // ENOENT when the file does not exist any more, or the system's error number.
    static int readFile(int folder, const char *name, FileStat &stat);

  private:
    int examine(int folder, const char *name, unsigned char kind, FolderContents &files,
                FolderContents &folders);

    const ItemSink &sink_;
    const std::unique_ptr<char[]> buffer_;
};

} // namespace mrb
