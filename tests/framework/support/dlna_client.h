#pragma once

#include <condition_variable>
#include <mutex>
#include <string>

#include "mrb/storage.h"
#include "support/client.h"
#include "support/own_process.h"

namespace support {

// The DLNA service as a client of the framework has it, and the servers that it told of.
// Used by one test thread.
class DlnaClient {
  public:
    DlnaClient();
    ~DlnaClient();
    DlnaClient(const DlnaClient &) = delete;
    DlnaClient &operator=(const DlnaClient &) = delete;

    // The id of the first server that came; a test failure when none comes.
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

// A test in a network of its own, in which there are the servers that it starts.
class DlnaTest : public OwnProcess {
  protected:
    // A list of the server when it has looked through its folder: until then it has less, and
    // one kind says goodbye meanwhile and comes again.
    static void listAll(Client &client, const ListOptions &options, int expected);
    // See OwnProcess.
    static bool insideNetwork();
};

} // namespace support
