#pragma once

#include <atomic>
#include <chrono>
#include <concepts>
#include <functional>
#include <type_traits>
#include <utility>

namespace mrb {

// Has work of another thread end early: when it is cancelled, or takes too long. Owned by what
// represents the work, and outlives its tokens. Any thread may call it.
class CancellationSource {
  public:
    using Clock = std::chrono::steady_clock;

    // The work is cancelled so long from now. By the thread that does it, before it begins.
    void cancelAfter(Clock::duration limit) { deadline_ = Clock::now() + limit; }
    void cancel() { isCancelled_.store(true, std::memory_order_relaxed); }

    // By cancel().
    [[nodiscard]] bool isCancelled() const { return isCancelled_.load(std::memory_order_relaxed); }
    // By its time.
    [[nodiscard]] bool isTimedOut() const { return Clock::now() >= deadline_; }

  private:
    std::atomic<bool> isCancelled_ = false;
    Clock::time_point deadline_ = Clock::time_point::max();
};

// Says to a piece of work whether it shall end early: that of a CancellationSource, or a
// condition. A value; it is asked often, so whatever it asks must be cheap.
class CancellationToken {
  public:
    // Never cancelled.
    CancellationToken() = default;
    // NOLINTNEXTLINE(google-explicit-constructor): a source is passed where a token is wanted
    CancellationToken(const CancellationSource &source) : source_(&source) {}
    // Cancelled when the condition is true, which is asked on the thread that asks this. What it
    // refers to outlives the token.
    template <typename Condition>
    requires(std::predicate<Condition &> && !std::same_as<std::remove_cvref_t<Condition>, CancellationToken>)
        // NOLINTNEXTLINE(bugprone-forwarding-reference-overload,google-explicit-constructor): as above
        CancellationToken(Condition &&condition)
        : condition_(std::forward<Condition>(condition)) {}

    [[nodiscard]] bool isCancelled() const {
        return source_ != nullptr ? source_->isCancelled() || source_->isTimedOut()
                                  : condition_ && condition_();
    }
    // Whether it is cancelled because the time of its source is over.
    [[nodiscard]] bool isTimedOut() const {
        return source_ != nullptr && !source_->isCancelled() && source_->isTimedOut();
    }

  private:
    const CancellationSource *source_ = nullptr;
    std::function<bool()> condition_; // where there is no source
};

} // namespace mrb
