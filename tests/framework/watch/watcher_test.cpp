// Which calls wait for the watch thread, and which do not. The watches are scripted.

#include "watch/watch_thread.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>

#include <functional>
#include <future>
#include <memory>

#include "base/descriptor.h"
#include "support/client.h"

namespace {

struct List final : mrb::WatchObserver {
    [[nodiscard]] bool shows(std::uint8_t /*type*/) const override { return true; }
    [[nodiscard]] std::optional<mrb::ItemInfo> listed(std::int32_t /*folder*/,
                                                      std::string_view /*name*/) const override {
        return std::nullopt;
    }
    void sourceChanged() override {}
    void sourceRemoved() override {}
};

// A watch without events; it notifies the test of the thread's calls.
struct ScriptedWatch final : mrb::Watch {
    explicit ScriptedWatch(std::function<void()> onRead, std::function<void()> onClose)
        : read_(std::move(onRead)), close_(std::move(onClose)) {}
    ~ScriptedWatch() override { close_(); }
    ScriptedWatch(const ScriptedWatch &) = delete;
    ScriptedWatch &operator=(const ScriptedWatch &) = delete;

    void aboutToRead(std::int32_t /*folder*/, int /*descriptor*/) override {}
    void awaitRemoval() override {}
    [[nodiscard]] int fd() const override { return never_.fd(); }
    mrb::Change read(const mrb::WatchObserver & /*list*/) override {
        read_();
        return mrb::Change::NONE;
    }
    [[nodiscard]] bool sourceIsThere() const override { return true; }

  private:
    const mrb::Descriptor never_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    const std::function<void()> read_;
    const std::function<void()> close_;
};

constexpr auto NOTHING = [] {};

} // namespace

// A close of an inotify instance takes the kernel long; here it does not end until the test
// has made the calls that must not wait for it.
TEST(WatchThread, NoCallerWaitsForTheCloseOfARemovedWatch) {
    mrb::WatchThread watchThread;
    const auto busy = std::make_shared<List>();
    const auto brief = std::make_shared<List>();
    const auto other = std::make_shared<List>();
    std::promise<void> reading;
    std::promise<void> goOn;
    std::promise<void> closing;
    std::promise<void> returned;
    bool hasReturned = false;

    // While the thread is busy, a list comes and goes that the thread has not seen yet.
    watchThread.watch(busy, std::make_unique<ScriptedWatch>(
                                [&] {
                                    reading.set_value();
                                    goOn.get_future().wait();
                                },
                                NOTHING));
    reading.get_future().wait();
    watchThread.watch(brief, std::make_unique<ScriptedWatch>(NOTHING, [&] {
                          closing.set_value();
                          const auto end = returned.get_future().wait_for(support::LIMIT / 4);
                          hasReturned = end == std::future_status::ready;
                      }));
    watchThread.forget(*brief);
    goOn.set_value();
    closing.get_future().wait();

    watchThread.watch(other, std::make_unique<ScriptedWatch>(NOTHING, NOTHING));
    watchThread.forget(*other);
    watchThread.forget(*busy);
    returned.set_value();
    EXPECT_TRUE(watchThread.finish(std::chrono::steady_clock::now() + support::LIMIT));
    EXPECT_TRUE(hasReturned);
}

TEST(WatchThread, TheEndDoesNotWaitForACloseThatHangs) {
    // Leaked with its thread, and static so that it does not count as a leak.
    static auto &watchThread = *new mrb::WatchThread;
    static std::promise<void> closing;
    static std::promise<void> never;
    const auto list = std::make_shared<List>();
    watchThread.watch(list, std::make_unique<ScriptedWatch>(NOTHING, [] {
                          closing.set_value();
                          never.get_future().wait();
                      }));
    watchThread.forget(*list);
    closing.get_future().wait();
    watchThread.forget(*list);
    EXPECT_FALSE(watchThread.finish(std::chrono::steady_clock::now() + std::chrono::milliseconds(20)));
}
