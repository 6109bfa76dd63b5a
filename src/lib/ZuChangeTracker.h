// Counts changes, remembers which were saved, and announces each as a message.
#pragma once

#include "ZuMessaging.h"
#include "ZuSharedObject.h"

namespace zustd {

class ChangeTracker : public MessageForwarder, public SharedObject {
public:
    // First word: the key, a text.
    static const MessageKind kPropertyChanged;
    // First word: the empty text.
    static const MessageKind kCacheCleared;

    // Takes the present state for the saved one; for hosts that save.
    virtual void markSaved();
    // Whether anything was counted since. A new tracker is not changed.
    virtual bool isChanged() const;
    // Advances the counter, which starts over after 2^62 changes.
    virtual void countChange();
    virtual void announceCacheCleared();
    // Counts a change and announces it, with clearCache behind a cleared cache.
    // The key lives until this returns. A tracker that a receiver destroys says
    // nothing more.
    virtual void announcePropertyChanged(const std::wstring& key, bool clearCache);

private:
    // Each half counts to 0x7FFFFFFF.
    std::uint32_t changeCountLow_ = 0;
    std::uint32_t changeCountHigh_ = 0;
    std::uint32_t savedCountLow_ = 0;
    std::uint32_t savedCountHigh_ = 0;
};

}  // namespace zustd
