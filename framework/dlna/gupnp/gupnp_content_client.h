#pragma once

#include <glib.h>

#include <deque>
#include <functional>
#include <memory>

#include "base/cancellation.h"
#include "base/mutex.h"
#include "dlna/content_directory_client.h"
#include "dlna/gupnp/gupnp_transfers.h"
#include "dlna/gupnp/http_requests.h"
#include "dlna/gupnp/pending.h"
#include "dlna/gupnp/server_table.h"

namespace mrb::dlna {

// Sends requests to servers from the network's thread on behalf of other threads. Shared by
// the GupnpNetwork and its clients; each member function states the thread that calls it.
class GupnpContentClient final : public ContentDirectoryClient,
                                 public std::enable_shared_from_this<GupnpContentClient> {
  public:
    // `context`: of the network's thread.
    explicit GupnpContentClient(GMainContext *context) : context_(g_main_context_ref(context)) {}
    ~GupnpContentClient() override { g_main_context_unref(context_); }

    // Any thread but the network's.
    Status browse(const BrowseRequest &request, const CancellationToken &cancellation, Page &page) override;
    Status fetch(const std::string &url, std::size_t maximum, std::chrono::milliseconds timeout,
                 const CancellationToken &cancellation, std::string &bytes) override;
    Status connect(const std::string &server, const CancellationToken &cancellation,
                   std::unique_ptr<Transfers> &transfers) override;

    // The network's thread: from now on requests can be sent, as long as the table lives.
    void open(const ServerTable &servers);
    // The network's thread: servers may have been removed from the table.
    void serversLeft();
    // The network's thread: every request, also later ones, ends with
    // MRB_ERR_DEVICE_REMOVED.
    void close();

  private:
    class NextPage;
    using Task = std::function<void()>;
    using Begin = std::function<void(std::shared_ptr<Pending> pending)>;

    // Runs the task on the network's thread; false: the thread has ended.
    bool post(Task task) MRB_EXCLUDES(lock_);
    void runTasks() MRB_EXCLUDES(lock_);
    // Begins a request on the network's thread; null: the thread has ended.
    std::shared_ptr<Pending> begin(Begin begin);
    std::shared_ptr<Pending> begin(const BrowseRequest &request);
    // Waits for the reply to that request.
    Reply await(const std::shared_ptr<Pending> &pending, std::chrono::milliseconds timeout,
                const CancellationToken &cancellation);
    void abandon(std::shared_ptr<Pending> pending);
    // On the network's thread:
    Status findService(const std::string &server, ServiceEndpoint &endpoint);
    void beginCall(const BrowseRequest &request, std::shared_ptr<Pending> pending);
    void beginFetch(const std::string &url, std::size_t maximum, std::shared_ptr<Pending> pending);

    GMainContext *const context_;

    // The network's thread alone uses these.
    const ServerTable *servers_ = nullptr;
    std::unique_ptr<HttpRequests> requests_;

    Mutex lock_;
    bool closed_ MRB_GUARDED_BY(lock_) = false;
    std::deque<Task> tasks_ MRB_GUARDED_BY(lock_); // for the network's thread
};

} // namespace mrb::dlna
