#pragma once

#include "watch/watch.h"

namespace support {

// A list that shows every item and holds none.
class AcceptAll final : public mrb::WatchObserver {
  public:
    bool shows(std::uint8_t /*type*/) const override { return true; }
    std::optional<mrb::ItemInfo> listed(std::int32_t /*folder*/, std::string_view /*name*/) const override {
        return std::nullopt;
    }
    void sourceChanged() override {}
    void sourceRemoved() override {}
};

} // namespace support
