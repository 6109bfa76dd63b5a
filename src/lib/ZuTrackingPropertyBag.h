// The settings container whose changes are counted and announced.
#pragma once

#include "ZuChangeTracker.h"
#include "ZuPropertyBag.h"

namespace zustd {

class TrackingPropertyBag : public PropertyBag, public ChangeTracker {
public:
    using PropertyBag::PropertyBag;

    // A copy: a sink may have the bag read anew while the key is announced.
    void onChanged(std::wstring_view key) override {
        announcePropertyChanged(std::wstring(key), false);
    }
};

}  // namespace zustd
