#include "ZuChangeTracker.h"

namespace zustd {

ZU_MESSAGE_KIND(ChangeTracker::kPropertyChanged, MessageWords::kText);
ZU_MESSAGE_KIND(ChangeTracker::kCacheCleared, MessageWords::kText);

void ChangeTracker::markSaved() {
    savedCountLow_ = changeCountLow_;
    savedCountHigh_ = changeCountHigh_;
}

bool ChangeTracker::isChanged() const {
    return savedCountLow_ != changeCountLow_ || savedCountHigh_ != changeCountHigh_;
}

void ChangeTracker::countChange() {
    constexpr std::uint32_t kLargestHalf = 0x7FFFFFFF;
    if (changeCountLow_ != kLargestHalf) {
        ++changeCountLow_;
        return;
    }
    changeCountLow_ = 0;
    changeCountHigh_ = changeCountHigh_ != kLargestHalf ? changeCountHigh_ + 1 : 0;
}

void ChangeTracker::announceCacheCleared() { sendText(kCacheCleared, std::wstring()); }

void ChangeTracker::announcePropertyChanged(const std::wstring& key, bool clearCache) {
    countChange();
    // Whoever hears of the cache may destroy the tracker.
    if (clearCache && !outlives([this] { announceCacheCleared(); })) {
        return;
    }
    sendText(kPropertyChanged, key);
}

}  // namespace zustd
