#pragma once

#include <atomic>
#include <chrono>
#include <concepts>
#include <functional>
#include <type_traits>
#include <utility>

namespace mrb {

// Ends the work of another thread early: by a cancellation, or a timeout. Owned by what
// represents the work, and outlives its tokens. Any thread may call it.
class CancellationSource {
  public:
    using Clock = std::chrono::steady_clock;

    // Sets the timeout of the work. Called by the thread that does the work, before it begins.
    void cancelAfter(Clock::duration limit) { deadline_ = Clock::now() + limit; }
    void cancel() { isCancelled_.store(true, std::memory_order_relaxed); }

    // Cancelled by cancel().
    [[nodiscard]] bool isCancelled() const { return isCancelled_.load(std::memory_order_relaxed); }
    // By the timeout.
    [[nodiscard]] bool isTimedOut() const {
        // Without a timeout no clock is read: tokens are polled often.
        return deadline_ != Clock::time_point::max() && Clock::now() >= deadline_;
    }

  private:
    std::atomic<bool> isCancelled_ = false;
    Clock::time_point deadline_ = Clock::time_point::max();
};

// Whether work has to end early: by a CancellationSource, or by a condition. A value; it is
// polled often, so the condition must be cheap.
class CancellationToken {
  public:
    // Never cancelled.
    CancellationToken() = default;
    // NOLINTNEXTLINE(google-explicit-constructor): a source is passed where a token is expected
    CancellationToken(const CancellationSource &source) : source_(&source) {}
    // Cancelled when the condition is true, which is evaluated on the thread that polls the token.
    // What it refers to outlives the token.
    template <typename Condition>
    requires(std::predicate<Condition &> && !std::same_as<std::remove_cvref_t<Condition>, CancellationToken>)
        // NOLINTNEXTLINE(bugprone-forwarding-reference-overload,google-explicit-constructor): as above
        CancellationToken(Condition &&condition)
        : condition_(std::forward<Condition>(condition)) {}

    [[nodiscard]] bool isCancelled() const {
        return source_ != nullptr ? source_->isCancelled() || source_->isTimedOut()
                                  : condition_ && condition_();
    }
    // Whether it is cancelled by the timeout of its source.
    [[nodiscard]] bool isTimedOut() const {
        return source_ != nullptr && !source_->isCancelled() && source_->isTimedOut();
    }

  private:
    const CancellationSource *source_ = nullptr;
    std::function<bool()> condition_; // without a source
};

} // namespace mrb
