#pragma once

#include <string>

#include "base/cancellation.h"
#include "base/result.h"
#include "dlna/directories.h"

namespace mrb::dlna {

// What it means that a server broke off, or refused a connection: that it is gone, or a
// whim of it that costs one file (MRB_ERR_IO). It is asked for that; any other outcome
// stays what it is.
Status judgeBreak(Directories &directories, const std::string &server, Status outcome,
                  const CancellationToken &cancellation);

} // namespace mrb::dlna
