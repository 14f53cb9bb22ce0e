#include "host.h"

namespace Bridge {
namespace {
Host *installed_host = nullptr;
} // namespace

AsyncContext::~AsyncContext() = default;

Host::~Host() = default;

Host *Host::current() noexcept { return installed_host; }

void Host::install(Host *host) noexcept { installed_host = host; }

} // namespace Bridge
