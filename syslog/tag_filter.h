#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace systemlog {

/// Which tags' lines are written. Never changes after its construction; any thread may
/// call it.
class TagFilter {
  public:
    /// `list` holds tags with commas between them, each a whole tag or what follows
    /// its last hyphen ("agent" for "MRB-BRIDGE-AGENT"), in any case. Null or without
    /// a tag: all tags are written. Throws std::bad_alloc.
    explicit TagFilter(const char *list);

    /// Whether lines of `tag` are written.
    [[nodiscard]] bool admits(std::string_view tag) const noexcept;

  private:
    std::vector<std::string> tags_;
};

} // namespace systemlog
