// The service that stands for process-wide messaging: kinds by name, for hosts.
#pragma once

#include "ZuService.h"

namespace zustd {

class MessagingService : public Service {
public:
    using Service::Service;

    // The kind with this long name, or null.
    virtual const MessageKind* findKind(std::wstring_view name) const {
        return MessageKind::find(name);
    }
};

}  // namespace zustd
