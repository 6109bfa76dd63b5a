// The service that stands for process-wide messaging: kinds by name.
//
// For hosts that give their services messages by name; the framework registers
// none and asks MessageKind::find itself.
#pragma once

#include <string_view>

#include "ZuService.h"

namespace zustd {

class MessagingService : public Service {
public:
    using Service::Service;

    // The kind with this long name, or null: for texts that name a message,
    // such as a link's.
    virtual const MessageKind* findKind(std::wstring_view name) const;
};

}  // namespace zustd
