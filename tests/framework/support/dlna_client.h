#pragma once

#include <condition_variable>
#include <mutex>
#include <string>

#include "mrb/storage.h"
#include "support/client.h"
#include "support/own_process.h"

namespace support {

// A client of the DLNA service, and the servers that the service has reported.
// Used by one test thread.
class DlnaClient {
  public:
    DlnaClient();
    ~DlnaClient();
    DlnaClient(const DlnaClient &) = delete;
    DlnaClient &operator=(const DlnaClient &) = delete;

    // The id of the first server that came; a test failure at the timeout.
    std::string server();
    void waitUntilItLeaves();

  private:
    static void receiveState(int state, void *self);
    static void receive(void *self, mrb_storage_event_e event, _mrb_storage_s *&storage);

    std::mutex lock_;
    std::condition_variable changed_;
    std::string id_;
    bool left_ = false;
    bool started_ = false;
};

// A test in a network namespace of its own, in which there are the servers that it starts.
class DlnaTest : public OwnProcess {
  protected:
    // A list of the server after that has scanned its folder: until then it has fewer items, and
    // one kind leaves and returns during the scan.
    static void listAll(Client &client, const ListOptions &options, int expected);
    // See OwnProcess.
    static bool insideNetwork();
};

} // namespace support
