#include "ZuServiceLocator.h"

#include <algorithm>
#include <utility>

#include "ZuService.h"

namespace zustd {

namespace {

// Ready before any constructor runs, and destroyed after the object below.
constinit std::shared_ptr<ServiceLocator> rootLocator;
const ServiceLocatorStaticCtorDtor rootLocatorLifetime;

bool bearsName(const Service& service, std::wstring_view name) {
    return name.empty() || service.name() == name;
}

}  // namespace

ServiceLocatorStaticCtorDtor::ServiceLocatorStaticCtorDtor() {
    rootLocator = std::make_shared<ServiceLocator>();
}

ServiceLocatorStaticCtorDtor::~ServiceLocatorStaticCtorDtor() {
    const std::shared_ptr<ServiceLocator> root = std::exchange(rootLocator, nullptr);
    root->unregisterAll();
}

void ServiceLocator::initialize() {}

void ServiceLocator::announce() {}

std::shared_ptr<ServiceLocator> ServiceLocator::getParent() const { return parent_; }

void ServiceLocator::setParent(const std::shared_ptr<ServiceLocator>& parent) { parent_ = parent; }

void ServiceLocator::registerService(const std::shared_ptr<Service>& service, bool attach,
                                     bool own) {
    const auto isService = [&](const std::weak_ptr<Service>& entry) {
        return entry.lock() == service;
    };
    if (!service ||
        std::find(ownedServices_.begin(), ownedServices_.end(), service) != ownedServices_.end() ||
        std::any_of(weakServices_.begin(), weakServices_.end(), isService)) {
        return;
    }
    if (own) {
        ownedServices_.push_back(service);
    } else {
        weakServices_.push_back(service);
    }
    if (attach) {
        service->setParent(sharedReference(this));
    }
}

void ServiceLocator::unregisterService(const std::shared_ptr<Service>& service) {
    if (!service) {
        return;
    }
    // The caller may pass the very reference that is removed here.
    const std::shared_ptr<Service> kept = service;
    std::erase_if(weakServices_, [](const auto& entry) { return entry.expired(); });
    const std::size_t removed =
        std::erase(ownedServices_, kept) +
        std::erase_if(weakServices_, [&](const auto& entry) { return entry.lock() == kept; });
    if (removed != 0 && kept->getParent().get() == this) {
        kept->setParent(nullptr);
    }
}

std::shared_ptr<ServiceLocator> ServiceLocator::instance() noexcept { return rootLocator; }

std::shared_ptr<Service> ServiceLocator::findOwned(TypeTest isType, std::wstring_view name,
                                                   bool localOnly) const {
    for (auto entry = ownedServices_.rbegin(); entry != ownedServices_.rend(); ++entry) {
        if (isType(entry->get()) && bearsName(**entry, name)) {
            return *entry;
        }
    }
    if (localOnly) {
        return nullptr;
    }
    if (const std::shared_ptr<ServiceLocator> parent = getParent()) {
        return parent->findOwned(isType, name, false);
    }
    const std::shared_ptr<ServiceLocator> root = instance();
    return root && root.get() != this ? root->findOwned(isType, name, true) : nullptr;
}

std::shared_ptr<Service> ServiceLocator::findWeak(TypeTest isType, std::wstring_view name) const {
    for (auto entry = weakServices_.rbegin(); entry != weakServices_.rend(); ++entry) {
        std::shared_ptr<Service> service = entry->lock();
        if (service && isType(service.get()) && bearsName(*service, name)) {
            return service;
        }
    }
    return nullptr;
}

void ServiceLocator::unregisterAll() {
    while (!ownedServices_.empty()) {
        unregisterService(ownedServices_.back());
    }
    weakServices_.clear();
}

}  // namespace zustd
