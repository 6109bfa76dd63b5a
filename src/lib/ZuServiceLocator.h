// The registry through which framework objects find each other's services.
//
// Registries form a tree below one process-wide root. A look-up searches the
// services that a registry owns, the newest first, then climbs the parents,
// and at last tries the root; a service registered later hides an older one of
// the same type and name. Missing services are empty references, never
// exceptions.
//
// A registry owns its services by strong references, and an attached service
// holds its registry as its parent. That circle is opened by unregisterService
// for one service and by unregisterAll for all services here and below; the
// root does it when the process ends. Services that own one another some thousand
// deep must go by unregisterAll; their destructors would run inside of each
// other. Reference counts are atomic, the lists are not locked: register and
// look up on the main thread. Each looks at every service of a registry.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "ZuSharedObject.h"

namespace zustd {

class Service;

class ServiceLocator : public SharedObject {
public:
    // Slot order is fixed. A registry lets go of its services, the newest first,
    // and then of its parent; a parent that only this one holds has lost its own
    // by then.
    ~ServiceLocator() override;
    // Life-cycle hooks that do nothing here; nobody in the framework calls the
    // second.
    virtual void initialize();
    virtual void announce();

    // Empty for the root and for what was never attached. Parents that form a
    // ring keep each other alive; a look-up in it ends all the same.
    virtual std::shared_ptr<ServiceLocator> getParent() const;
    virtual void setParent(const std::shared_ptr<ServiceLocator>& parent);

    // Adds a service unless it is null or registered already; owned (strong)
    // or not (weak). With attach the service's look-ups climb to this
    // registry, until it is attached elsewhere; fails the assertion
    // "!attach || self" when no shared reference holds this registry. Whatever
    // this throws, the service is not registered then.
    virtual void registerService(const std::shared_ptr<Service>& service, bool attach, bool own);
    // Removes a service from whichever list holds it and detaches it.
    virtual void unregisterService(const std::shared_ptr<Service>& service);

    // Unregisters every service of this registry, the newest first, and every
    // service of these, whoever else holds them.
    void unregisterAll();

    // The process-wide root; empty before static initialisation and after
    // static destruction.
    static std::shared_ptr<ServiceLocator> instance() noexcept;

    // The newest owned service that is a T and, when name is not empty, bears
    // it; searched for here, then in the parents, then in the root, or only
    // here with localOnly.
    template <class T>
    std::shared_ptr<T> getService(std::wstring_view name = {}, bool localOnly = false) const {
        return std::dynamic_pointer_cast<T>(findOwned(isA<T>, name, localOnly));
    }

    // The same among the weakly held services of this registry alone; for
    // hosts, the framework looks for owned ones.
    template <class T>
    std::shared_ptr<T> getWeakService(std::wstring_view name = {}) const {
        return std::dynamic_pointer_cast<T>(findWeak(isA<T>, name));
    }

private:
    using TypeTest = bool (*)(Service* service);

    template <class T>
    static bool isA(Service* service) {
        return dynamic_cast<T*>(service) != nullptr;
    }

    std::shared_ptr<Service> findOwned(TypeTest isType, std::wstring_view name,
                                       bool localOnly) const;
    std::shared_ptr<Service> findHere(TypeTest isType, std::wstring_view name) const;
    std::shared_ptr<Service> findWeak(TypeTest isType, std::wstring_view name) const;
    // Whether the service was registered.
    bool remove(const std::shared_ptr<Service>& service);
    void detach(Service& service);

    std::vector<std::weak_ptr<Service>> weakServices_;
    std::vector<std::shared_ptr<Service>> ownedServices_;
    std::shared_ptr<ServiceLocator> parent_;
};

// The first of its objects makes the root registry, the last one to go releases
// it. The framework has one; a host whose static objects use the registry has
// one in front of them.
class ServiceLocatorStaticCtorDtor {
public:
    ServiceLocatorStaticCtorDtor();
    ServiceLocatorStaticCtorDtor(const ServiceLocatorStaticCtorDtor&) = delete;
    ServiceLocatorStaticCtorDtor& operator=(const ServiceLocatorStaticCtorDtor&) = delete;
    ~ServiceLocatorStaticCtorDtor();
};

}  // namespace zustd
