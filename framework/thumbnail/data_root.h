#pragma once

#include <string>

namespace mrb::thumbnail {

// The path on this machine of a file that the television keeps at `path`: below $MRB_ROOT, or
// else below "mrb" in the user's cache folder ($XDG_CACHE_HOME or ~/.cache). Empty: the path is
// not absolute, or there is no such folder.
std::string pathOnThisMachine(const std::string &path);

} // namespace mrb::thumbnail
