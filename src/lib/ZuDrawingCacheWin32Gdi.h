// A cache of fonts or bitmaps that lets go of what nobody uses.
//
// The entries stand in the order of their last use. The first kMostHeld hold
// their objects; behind them an object is only known as long as somebody else
// holds it. So an object that is in use is never made twice, and the number of
// those that are kept for nobody is bounded.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace zustd {

template <class Key, class T>
class DrawingCacheWin32Gdi {
public:
    static constexpr std::size_t kMostHeld = 64;

    // The object for a key, made by make() when there is none. A null that
    // make() returns is not kept.
    template <class Make>
    std::shared_ptr<T> find(const Key& key, Make&& make) {
        const auto found = std::find_if(entries_.begin(), entries_.end(),
                                        [&key](const Entry& entry) { return entry.key == key; });
        std::shared_ptr<T> object;
        if (found != entries_.end()) {
            object = found->known.lock();
        }
        if (object) {
            std::rotate(entries_.begin(), found, found + 1);
        } else {
            object = make();
            if (!object) {
                return object;
            }
            // make() may have asked this cache for something else.
            std::erase_if(entries_, [&key](const Entry& entry) { return entry.key == key; });
            entries_.insert(entries_.begin(), Entry{key, nullptr, object});
        }
        entries_.front().held = object;
        trim();
        return object;
    }

    // Those in use live on with their users, and are made anew for others.
    void clear() noexcept { entries_.clear(); }

private:
    struct Entry {
        Key key;
        std::shared_ptr<T> held;
        std::weak_ptr<T> known;
    };

    void trim() {
        for (std::size_t i = kMostHeld; i < entries_.size(); ++i) {
            entries_[i].held.reset();
        }
        if (entries_.size() > kMostHeld) {
            std::erase_if(entries_, [](const Entry& entry) { return entry.known.expired(); });
        }
    }

    std::vector<Entry> entries_;
};

}  // namespace zustd
