#include "ZuServiceLocator.h"

#include <algorithm>

#include "ZuPlankton.h"
#include "ZuService.h"

namespace zustd {

namespace {

// Ready before any constructor runs. Never destroyed: the last of its holders
// may belong to any unit, and units end in no particular order.
union RootSlot {
    constexpr RootSlot() noexcept : root() {}
    // NOLINTNEXTLINE(modernize-use-equals-default): that one would be deleted.
    ~RootSlot() {}
    std::shared_ptr<ServiceLocator> root;
};
constinit RootSlot rootSlot;
constinit int rootHolders = 0;
const ServiceLocatorStaticCtorDtor rootLifetime;

bool bearsName(const Service& service, std::wstring_view name) {
    return name.empty() || service.name() == name;
}

}  // namespace

ServiceLocatorStaticCtorDtor::ServiceLocatorStaticCtorDtor() {
    if (!rootSlot.root) {
        rootSlot.root = std::make_shared<ServiceLocator>();
    }
    ++rootHolders;
}

ServiceLocatorStaticCtorDtor::~ServiceLocatorStaticCtorDtor() {
    if (--rootHolders == 0) {
        const std::shared_ptr<ServiceLocator> root = std::exchange(rootSlot.root, nullptr);
        guarded(ZU_OPERATION, [&root] { root->unregisterAll(); });
    }
}

ServiceLocator::~ServiceLocator() {
    // A service that goes away may use this registry, and a chain of parents
    // must not be let go of from inside of one another.
    while (!ownedServices_.empty()) {
        const std::shared_ptr<Service> released = std::move(ownedServices_.back());
        ownedServices_.pop_back();
    }
    while (parent_.use_count() == 1) {
        parent_ = std::exchange(parent_->parent_, nullptr);
    }
}

void ServiceLocator::setParent(const std::shared_ptr<ServiceLocator>& parent) {
    // Let go of last: a parent that goes away may take this registry along.
    const std::shared_ptr<ServiceLocator> former = std::exchange(parent_, parent);
}

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
    const std::shared_ptr<ServiceLocator> self = sharedReference(this);
    ZU_ASSERT(!attach || self);
    // A hook may change the caller's own reference.
    const std::shared_ptr<Service> kept = service;
    if (own) {
        ownedServices_.push_back(kept);
    } else {
        std::erase_if(weakServices_, [](const auto& entry) { return entry.expired(); });
        weakServices_.push_back(kept);
    }
    if (!attach) {
        return;
    }
    try {
        kept->setParent(self);
    } catch (...) {
        remove(kept);
        throw;
    }
}

void ServiceLocator::unregisterService(const std::shared_ptr<Service>& service) {
    // The caller may pass the very reference that is removed here.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    if (const std::shared_ptr<Service> kept = service; kept && remove(kept)) {
        detach(*kept);
    }
}

void ServiceLocator::unregisterAll() {
    // Let go of last, when none of them holds another one: whatever the depth,
    // no destructor runs inside of another one.
    std::vector<std::shared_ptr<Service>> released;
    const std::shared_ptr<ServiceLocator> self = sharedReference(this);
    ServiceLocator* locator = this;
    for (std::size_t next = 0;; ++next) {
        const auto weak = std::exchange(locator->weakServices_, {});
        for (const std::weak_ptr<Service>& entry : weak) {
            if (const std::shared_ptr<Service> service = entry.lock()) {
                locator->detach(*service);
            }
        }
        while (!locator->ownedServices_.empty()) {
            released.push_back(locator->ownedServices_.back());
            locator->ownedServices_.pop_back();
            locator->detach(*released.back());
        }
        if (next == released.size()) {
            return;
        }
        locator = released[next].get();
    }
}

bool ServiceLocator::remove(const std::shared_ptr<Service>& service) {
    return std::erase(ownedServices_, service) +
               std::erase_if(weakServices_,
                             [&](const auto& entry) { return entry.lock() == service; }) !=
           0;
}

void ServiceLocator::detach(Service& service) {
    if (service.getParent().get() == this) {
        service.setParent(nullptr);
    }
}

std::shared_ptr<ServiceLocator> ServiceLocator::instance() noexcept { return rootSlot.root; }

ServiceLocator::Found ServiceLocator::findOwned(Cast cast, std::wstring_view name,
                                                bool localOnly) const {
    Found found = findHere(cast, name);
    if (found.object != nullptr || localOnly) {
        return found;
    }
    // Parents may form a ring: a mark that moves on ever more rarely meets it.
    const ServiceLocator* mark = this;
    std::size_t steps = 1;
    std::size_t left = steps;
    for (std::shared_ptr<ServiceLocator> climbing = getParent(); climbing && climbing.get() != mark;
         climbing = climbing->getParent()) {
        found = climbing->findHere(cast, name);
        if (found.object != nullptr) {
            return found;
        }
        if (--left == 0) {
            mark = climbing.get();
            left = steps *= 2;
        }
    }
    return rootSlot.root ? rootSlot.root->findHere(cast, name) : Found();
}

ServiceLocator::Found ServiceLocator::findHere(Cast cast, std::wstring_view name) const {
    for (auto entry = ownedServices_.rbegin(); entry != ownedServices_.rend(); ++entry) {
        if (void* object = cast(entry->get()); object != nullptr && bearsName(**entry, name)) {
            return {*entry, object};
        }
    }
    return {};
}

ServiceLocator::Found ServiceLocator::findWeak(Cast cast, std::wstring_view name) const {
    for (auto entry = weakServices_.rbegin(); entry != weakServices_.rend(); ++entry) {
        const std::shared_ptr<Service> service = entry->lock();
        void* object = service ? cast(service.get()) : nullptr;
        if (object != nullptr && bearsName(*service, name)) {
            return {service, object};
        }
    }
    return {};
}

}  // namespace zustd
