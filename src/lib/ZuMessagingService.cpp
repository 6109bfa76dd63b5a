#include "ZuMessagingService.h"

namespace zustd {

const MessageKind* MessagingService::findKind(std::wstring_view name) const {
    return MessageKind::find(name);
}

}  // namespace zustd
