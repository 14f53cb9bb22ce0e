#include "fields/file_groups.h"

#include <algorithm>
#include <chrono>
#include <numeric>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/cancellable_sort.h"
#include "fields/field_table.h"
#include "text/collation.h"

namespace mrb {
namespace {

const char *fieldOf(Grouping grouping) {
    switch (grouping) {
    case Grouping::ARTIST:
        return "ARTIST";
    case Grouping::ALBUM:
        return "ALBUM";
    case Grouping::GENRE:
        return "GENRE";
    default:
        return "";
    }
}

// Numbers texts in the order of their arrival.
class StringTable {
  public:
    std::int32_t numberOf(std::string text) {
        if (text.empty()) {
            return FileGroups::NO_GROUP;
        }
        const auto [found, isNew] =
            numbers_.try_emplace(std::move(text), static_cast<std::int32_t>(texts_.size()));
        if (isNew) {
            texts_.push_back(found->first);
            keys_.push_back(order_.key(found->first));
        }
        return found->second;
    }

    // Sorts the names, and replaces the numbers in `groupOfItem` by positions among them. False:
    // cancelled.
    bool arrange(FileGroups &groups, const CancellationToken &cancellation) const {
        std::vector<std::int32_t> numbers(texts_.size());
        std::iota(numbers.begin(), numbers.end(), 0);
        const auto before = [this](std::int32_t left, std::int32_t right) {
            return keys_[static_cast<std::size_t>(left)] < keys_[static_cast<std::size_t>(right)];
        };
        if (!sortUnlessCancelled(numbers.begin(), numbers.end(), before, cancellation)) {
            return false;
        }
        std::vector<std::int32_t> rankOfNumber(numbers.size());
        for (const std::int32_t number : numbers) {
            rankOfNumber[static_cast<std::size_t>(number)] = static_cast<std::int32_t>(groups.names.size());
            groups.names.push_back(texts_[static_cast<std::size_t>(number)]);
        }
        for (std::int32_t &rank : groups.groupOfItem) {
            rank = rank != FileGroups::NO_GROUP ? rankOfNumber[static_cast<std::size_t>(rank)] : rank;
        }
        return true;
    }

  private:
    NaturalOrder order_;
    std::unordered_map<std::string, std::int32_t> numbers_;
    std::vector<std::string> texts_;
    std::vector<std::string> keys_;
};

} // namespace

bool readFileGroups(const ItemStore &store, Grouping grouping, MediaLibrary &library,
                    const std::function<MediaItem(const ItemInfo &)> &fileOf,
                    const CancellationToken &cancellation,
                    const std::function<void(FileGroups groups, std::int32_t readCount)> &publish) {
    using std::chrono::steady_clock;
    constexpr auto PUBLISH_INTERVAL = std::chrono::milliseconds(250);
    const Field &field = *findField(fieldOf(grouping));
    StringTable texts;
    std::vector<std::int32_t> numbers(static_cast<std::size_t>(store.size()), FileGroups::NO_GROUP);
    std::int32_t readCount = 0;
    auto publishedAt = steady_clock::now();
    const auto publishNow = [&] {
        FileGroups groups{grouping, {}, numbers};
        const bool isArranged = texts.arrange(groups, cancellation);
        if (isArranged) {
            publish(std::move(groups), readCount);
        }
        publishedAt = steady_clock::now();
        return isArranged;
    };
    const auto itemAt = [&](std::int32_t item) {
        if (steady_clock::now() - publishedAt >= PUBLISH_INTERVAL) {
            publishNow();
        }
        readCount += store.matches(item) ? 1 : 0;
        return fileOf(store.info(item));
    };
    const auto take = [&](std::int32_t item, const MediaRecord &record) {
        const ListEntry entry{store.info(item)};
        MetadataValue value = fieldValue(field, entry, {}, record);
        if (auto *text = std::get_if<std::string>(&value)) {
            numbers[static_cast<std::size_t>(item)] = texts.numberOf(std::move(*text));
        }
    };
    return library.readAll(store.size(), itemAt, cancellation, take) && publishNow();
}

} // namespace mrb
