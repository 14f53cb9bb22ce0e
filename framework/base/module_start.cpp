// Part of every module: each has a copy of LoadingLock, and all use the same instance.

#include "base/loading.h"

namespace mrb {

void mrb_share_loading(LoadingLock &shared) { LoadingLock::share(shared); }

} // namespace mrb
