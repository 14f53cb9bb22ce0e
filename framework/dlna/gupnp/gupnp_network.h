#pragma once

#include <libgupnp/gupnp.h>

#include <map>
#include <memory>
#include <thread>

#include "dlna/gupnp/gobject.h"
#include "dlna/gupnp/gupnp_content_client.h"
#include "dlna/gupnp/server_table.h"
#include "dlna/network.h"

namespace mrb::dlna {

// Finds media servers with GUPnP, whose objects all live on one thread with a main
// context of its own. Created and destroyed by any one thread.
class GupnpNetwork final : public Network {
  public:
    explicit GupnpNetwork(NetworkObserver &observer);
    ~GupnpNetwork() override;

    [[nodiscard]] std::shared_ptr<ContentDirectoryClient> contentClient() override;

  private:
    class Watch; // the state of the thread

    const std::unique_ptr<Watch> watch_;
    std::thread thread_;
};

} // namespace mrb::dlna
