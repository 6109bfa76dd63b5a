#include "ZuService.h"

#include "ZuPlankton.h"
#include "ZuTrackingPropertyBag.h"

namespace zustd {

ZU_MESSAGE_KIND(Service::kLogicalLockChanged, MessageWords::kUnsaid);

void Service::initialize() {
    auto properties = makeSharedOrNull<TrackingPropertyBag>();
    ZU_ASSERT_AS(properties, L"properties_", ZU_LINE(61));
    // Weakly: the service owns the bag, not the other way round.
    properties->connect(sharedReference<MessageSink>(this), true);
    properties_ = std::move(properties);
}

void Service::announce() { sendMessage(kLogicalLockChanged, MessageWord(), MessageWord()); }

std::shared_ptr<SharedObject> Service::getNamedObject(std::wstring_view name) const {
    const std::shared_ptr<SharedObject>* object = namedObjects_.find(name);
    return object != nullptr ? *object : nullptr;
}

void Service::setNamedObject(std::wstring_view name, const std::shared_ptr<SharedObject>& object) {
    // Let go of last: the object that was there may come back to this service.
    const std::shared_ptr<SharedObject> former =
        std::exchange(namedObjects_.findOrInsert(name).first.value, object);
}

void Service::removeNamedObject(std::wstring_view name) { namedObjects_.remove(name); }

const std::shared_ptr<TrackingPropertyBag>& Service::properties() const {
    ZU_ASSERT(properties_);
    return properties_;
}

}  // namespace zustd
