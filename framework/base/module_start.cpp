// Part of every module: each has a copy of what loads libraries, and all load in turn.

#include "base/loading.h"

namespace mrb {

void mrb_share_loading(LoadingLock &shared) { LoadingLock::share(shared); }

} // namespace mrb
