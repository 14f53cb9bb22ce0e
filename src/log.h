#pragma once
// The bridge's log lines and assertions.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <type_traits>

#include "system_log.h"

namespace MRBBridge {

/// Tags of the platform log, one per part of the bridge.
namespace LogTag {
inline constexpr char Common[] = "MRB-BRIDGE-COMMON"; // NOLINT(*-avoid-c-arrays): handed to a C function
inline constexpr char Agent[] = "MRB-BRIDGE-AGENT";
inline constexpr char Thumbnail[] = "MRB-BRIDGE-THUMBNAIL";
inline constexpr char StorageMgr[] = "MRB-BRIDGE-STORAGEMGR";
} // namespace LogTag

/// The index of the part of a path after its last slash.
constexpr size_t BaseNameIndex(const char *path) {
    size_t index = 0;
    for (size_t at = 0; path[at] != '\0'; ++at) {
        if (path[at] == '/') {
            index = at + 1;
        }
    }
    return index;
}

/// The calling thread's kernel thread id. Read from the kernel once per thread, and
/// again in a forked child: a system call for every line would cost more than the
/// rest of a line that no sink takes.
int ThreadId();

/// A framework handle as "%p" prints it: the pointer made from its 32 bits,
/// unsigned, so that it reads the same whatever the size of a pointer.
inline void *HandlePointer(int32_t handle) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): nothing is read through it
    return reinterpret_cast<void *>(static_cast<uintptr_t>(static_cast<uint32_t>(handle)));
}

} // namespace MRBBridge

/// The base name of the source file; the index is a constant, so that no line searches for it.
#define MRB_SOURCE_FILE                                                                                      \
    (&__FILE__[std::integral_constant<size_t, ::MRBBridge::BaseNameIndex(__FILE__)>::value])

/// The first of some arguments, and the others. The preprocessor of C++17 cannot leave out
/// the comma before an empty list, so both are called with one argument more at the end.
#define MRB_FIRST(first, ...) first
#define MRB_OTHERS(first, ...) __VA_ARGS__

/// MRB_LOG(tag, format, arguments...) writes one line to the platform log. A macro, since
/// the line names the function and line it stands in: use it in the operation itself, not in
/// a helper or lambda. `format` is a literal and holds the message only.
#define MRB_LOG(tag, ...)                                                                                    \
    system_log_print(SYSTEM_LOG_MAIN, SYSTEM_LOG_NOTICE, tag,                                                \
                     "%s: %s(%d) > \033[31m[%s:%d] [Thread Id:[%d]] " MRB_FIRST(__VA_ARGS__, 0) "%s",        \
                     MRB_SOURCE_FILE, __FUNCTION__, __LINE__, __FUNCTION__, __LINE__,                        \
                     ::MRBBridge::ThreadId(), MRB_OTHERS(__VA_ARGS__, "\033[0m"))

/// Ends the process with `text` when a condition does not hold that only a
/// programming error breaks. In force in every build: without it the process would
/// go on with a null pointer on a thread that no script can observe.
#define MRB_ASSERT(condition, text)                                                                          \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            static_cast<void>(std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", MRB_SOURCE_FILE,   \
                                           __LINE__, __FUNCTION__, text));                                   \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (false)
