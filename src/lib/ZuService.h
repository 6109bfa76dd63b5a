// What is registered in a ServiceLocator: a shared object with settings and
// messages.
//
// Every service is itself a registry whose parent is the one that it was
// attached to, and forwards its settings' change messages to its own sinks.
// Make services with makeService, which initialises them.
#pragma once

#include "ZuHashMap.h"
#include "ZuMessaging.h"
#include "ZuServiceLocator.h"

namespace zustd {

class TrackingPropertyBag;

class Service : public ServiceLocator, public MessageForwarder {
public:
    // First word: 1 when the service is taken for exclusive use, 0 when it is
    // free (again).
    static const MessageKind kLogicalLockChanged;

    // The name tells services of one type apart; most have none.
    explicit Service(std::wstring name = {}) : name_(std::move(name)) {}

    // Makes the settings anew and connects them to this service, as long as a
    // shared reference owns it; without one nobody hears of their changes.
    void initialize() override;
    // Tells the sinks that the service is there and free; for hosts.
    void announce() override;

    // Objects that belong to the service, by name; empty when there is none.
    virtual std::shared_ptr<SharedObject> getNamedObject(std::wstring_view name) const;
    virtual void setNamedObject(std::wstring_view name,
                                const std::shared_ptr<SharedObject>& object);
    virtual void removeNamedObject(std::wstring_view name);

    const std::wstring& name() const noexcept { return name_; }

    // The settings; fails the assertion "properties_" before initialize().
    const std::shared_ptr<TrackingPropertyBag>& properties() const;

private:
    std::shared_ptr<TrackingPropertyBag> properties_;
    HashMap<std::shared_ptr<SharedObject>> namedObjects_;
    std::wstring name_;
};

// A new, initialised service.
template <class T, class... Args>
std::shared_ptr<T> makeService(Args&&... args) {
    auto service = std::make_shared<T>(std::forward<Args>(args)...);
    service->initialize();
    return service;
}

}  // namespace zustd
