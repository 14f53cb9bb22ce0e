#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

#include "sources/source.h"

namespace support {

// Counts what a source adds and its checks for cancellation, and cancels at a given check.
// Used by one thread.
class CountingSink final : public mrb::ItemSink {
  public:
    static constexpr std::int64_t NEVER = INT64_MAX;

    // `last`: the number of checks that return false.
    explicit CountingSink(std::int64_t last = NEVER) : last_(last) {}
    CountingSink(const CountingSink &) = delete;
    CountingSink &operator=(const CountingSink &) = delete;

    bool wants(std::uint8_t /*type*/) const override { return true; }
    const mrb::CancellationToken &cancellation() const override { return cancellation_; }
    void setExpectedTotal(std::int64_t /*total*/) override {}
    std::int32_t addFolder(std::int32_t /*parent*/, std::string_view /*name*/) override {
        late = late || checks > last_;
        return ++folders;
    }
    bool add(std::span<const mrb::SourceItem> run) override {
        late = late || checks > last_;
        items += static_cast<std::int64_t>(run.size());
        longestRun = std::max(longestRun, run.size());
        return true;
    }

    mutable std::int64_t checks = 0;
    std::int32_t folders = 0;
    std::int64_t items = 0;
    std::size_t longestRun = 0;
    bool late = false; // something was added after the cancellation

  private:
    const std::int64_t last_;
    const mrb::CancellationToken cancellation_ = [this] { return ++checks > last_; };
};

} // namespace support
