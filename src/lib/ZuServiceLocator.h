// The registry through which framework objects find each other's services.
//
// Registries form a tree below one process-wide root. A look-up searches the services that a
// registry owns, the newest first, then climbs the parents, and at last tries the root. Missing
// services are empty references, never exceptions.
//
// An attached service holds the registry that owns it as its parent. That circle is opened by
// unregisterService, and by unregisterAll for all services here and below; the root does it when
// the process ends. Services that own one another some thousand deep must go by unregisterAll, or
// their destructors would run inside of each other. The lists are not locked: register and look up
// on the main thread. Each looks at every service of a registry.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "ZuSharedObject.h"

namespace zustd {

class Service;

class ServiceLocator : public SharedObject {
public:
    // Slot order is fixed. Lets go of the services, the newest first, and then of the parent.
    ~ServiceLocator() override;
    // Life-cycle hooks that do nothing here.
    virtual void initialize() {}
    virtual void announce() {}

    // Empty for the root and for what was never attached. Parents that form a
    // ring keep each other alive; a look-up in it ends all the same.
    virtual std::shared_ptr<ServiceLocator> getParent() const { return parent_; }
    virtual void setParent(const std::shared_ptr<ServiceLocator>& parent);

    // Adds a service unless it is null or registered already; owned (strong) or not (weak). With
    // attach the service's look-ups climb to this registry, until it is attached elsewhere; fails
    // the assertion "!attach || self" when no shared reference holds this registry. Whatever this
    // throws, the service is not registered then.
    virtual void registerService(const std::shared_ptr<Service>& service, bool attach, bool own);
    // Removes a service from whichever list holds it and detaches it.
    virtual void unregisterService(const std::shared_ptr<Service>& service);

    // Unregisters every service of this registry, the newest first, and every
    // service of these, whoever else holds them.
    void unregisterAll();

    // The process-wide root; empty before static initialisation and after static destruction.
    static std::shared_ptr<ServiceLocator> instance() noexcept;

    // The newest owned service that is a T and, when name is not empty, bears it; searched for
    // here, then in the parents, then in the root, or only here with localOnly.
    template <class T>
    std::shared_ptr<T> getService(std::wstring_view name = {}, bool localOnly = false) const {
        return findOwned(&castTo<T>, name, localOnly).template as<T>();
    }

    // The same among the weakly held services of this registry alone; for
    // hosts, the framework looks for owned ones.
    template <class T>
    std::shared_ptr<T> getWeakService(std::wstring_view name = {}) const {
        return findWeak(&castTo<T>, name).template as<T>();
    }

private:
    // A service as the type that was looked for, or null.
    using Cast = void* (*)(Service* service);
    template <class T>
    static void* castTo(Service* service) {
        return dynamic_cast<T*>(service);
    }
    struct Found {
        std::shared_ptr<Service> service;
        void* object = nullptr;

        template <class T>
        std::shared_ptr<T> as() && {
            return {std::move(service), static_cast<T*>(object)};
        }
    };

    Found findOwned(Cast cast, std::wstring_view name, bool localOnly) const;
    Found findHere(Cast cast, std::wstring_view name) const;
    Found findWeak(Cast cast, std::wstring_view name) const;
    // Whether the service was registered.
    bool remove(const std::shared_ptr<Service>& service);
    void detach(Service& service);

    std::vector<std::weak_ptr<Service>> weakServices_;
    std::vector<std::shared_ptr<Service>> ownedServices_;
    std::shared_ptr<ServiceLocator> parent_;
};

// The first of its objects makes the root registry, the last one to go releases it. The framework
// has one; a host whose static objects use the registry has one in front of them.
class ServiceLocatorStaticCtorDtor {
public:
    ServiceLocatorStaticCtorDtor();
    ServiceLocatorStaticCtorDtor& operator=(ServiceLocatorStaticCtorDtor&&) = delete;
    ~ServiceLocatorStaticCtorDtor();
};

}  // namespace zustd
