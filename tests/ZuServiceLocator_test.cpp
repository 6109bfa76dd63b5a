#include "ZuServiceLocator.h"

#include <gtest/gtest.h>

#include "ZuMessagingService.h"
#include "ZuService.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

class IClock {
public:
    virtual ~IClock() = default;
};
class Plain : public Service {
public:
    using Service::Service;
};
class Clock : public Service, public IClock {
public:
    using Service::Service;
};
class BetterClock : public Clock {
public:
    using Clock::Clock;
};

// Registered with the root for as long as it lives.
class InRoot {
public:
    explicit InRoot(std::shared_ptr<Service> service) : service_(std::move(service)) {
        ServiceLocator::instance()->registerService(service_, true, true);
    }
    InRoot(const InRoot&) = delete;
    InRoot& operator=(const InRoot&) = delete;
    ~InRoot() { ServiceLocator::instance()->unregisterService(service_); }

private:
    std::shared_ptr<Service> service_;
};

TEST(ServiceLocator, getService_severalOfOneType_findsTheNewestThatFits) {
    const auto locator = std::make_shared<ServiceLocator>();
    const auto first = makeService<Clock>(L"a");
    const auto second = makeService<BetterClock>(L"b");
    const auto third = makeService<Clock>(L"a");
    const auto other = makeService<Plain>(L"b");
    for (const std::shared_ptr<Service>& service :
         {std::shared_ptr<Service>(first), std::shared_ptr<Service>(second),
          std::shared_ptr<Service>(third), std::shared_ptr<Service>(other)}) {
        locator->registerService(service, false, true);
    }
    EXPECT_EQ(locator->getService<Clock>(), third);
    EXPECT_EQ(locator->getService<BetterClock>(), second);
    EXPECT_EQ(locator->getService<Clock>(L"b"), second);
    EXPECT_EQ(locator->getService<Clock>(L"a"), third);
    EXPECT_EQ(locator->getService<Clock>(L"A"), nullptr);
    EXPECT_EQ(locator->getService<Service>(), other);
    EXPECT_EQ(locator->getService<IClock>().get(), static_cast<IClock*>(third.get()));
    EXPECT_EQ(locator->getService<MessagingService>(), nullptr);
    // Registering again changes nothing, unregistering uncovers the older one.
    locator->registerService(first, true, true);
    EXPECT_EQ(first->getParent(), nullptr);
    EXPECT_EQ(locator->getService<Clock>(), third);
    locator->unregisterService(third);
    EXPECT_EQ(locator->getService<Clock>(), second);
    locator->unregisterService(third);
    locator->unregisterService(second);
    EXPECT_EQ(locator->getService<Clock>(), first);
}

TEST(ServiceLocator, nullService_registeredOrUnregistered_isIgnored) {
    const auto locator = std::make_shared<ServiceLocator>();
    locator->registerService(nullptr, true, true);
    locator->registerService(nullptr, true, false);
    locator->unregisterService(nullptr);
    EXPECT_EQ(locator->getService<Service>(), nullptr);
}

TEST(ServiceLocator, getService_notFoundHere_climbsTheParentsAndThenTriesTheRoot) {
    const auto top = std::make_shared<ServiceLocator>();
    const auto middle = std::make_shared<ServiceLocator>();
    const auto bottom = std::make_shared<ServiceLocator>();
    bottom->setParent(middle);
    middle->setParent(top);
    const auto inTop = makeService<Clock>(L"top");
    top->registerService(inTop, false, true);
    const auto inRoot = makeService<Clock>(L"root");
    const InRoot registered(inRoot);

    EXPECT_EQ(bottom->getService<Clock>(), inTop);
    EXPECT_EQ(bottom->getService<Clock>(L"root"), inRoot);
    EXPECT_EQ(bottom->getService<Clock>(L"", true), nullptr);
    EXPECT_EQ(bottom->getService<Clock>(L"nobody"), nullptr);
    bottom->setParent(nullptr);
    EXPECT_EQ(bottom->getService<Clock>(), inRoot);
    EXPECT_EQ(bottom->getParent(), nullptr);
}

TEST(ServiceLocator, getService_withoutParent_seesOnlyWhatTheRootItselfHolds) {
    const auto direct = makeService<Plain>();
    const InRoot registered(direct);
    const auto nested = makeService<Clock>();
    direct->registerService(nested, false, true);
    const auto orphan = std::make_shared<ServiceLocator>();
    EXPECT_EQ(orphan->getService<Plain>(), direct);
    EXPECT_EQ(orphan->getService<Clock>(), nullptr);
    EXPECT_EQ(ServiceLocator::instance()->getService<Clock>(), nullptr);
    EXPECT_EQ(direct->getService<Clock>(), nested);
}

TEST(ServiceLocator, weakService_isFoundByTheWeakSearchWhileItLives) {
    const auto locator = std::make_shared<ServiceLocator>();
    const auto older = makeService<Clock>(L"older");
    auto newer = makeService<Clock>(L"newer");
    locator->registerService(older, false, false);
    locator->registerService(newer, true, false);
    locator->registerService(newer, false, true);
    EXPECT_EQ(newer->getParent(), locator);
    EXPECT_EQ(locator->getService<Clock>(L"", true), nullptr);
    EXPECT_EQ(locator->getWeakService<Clock>(), newer);
    EXPECT_EQ(locator->getWeakService<Clock>(L"older"), older);
    EXPECT_EQ(locator->getWeakService<Plain>(), nullptr);
    newer.reset();
    EXPECT_EQ(locator->getWeakService<Clock>(), older);
    // A stranger is not detached because an expired entry goes on the way.
    const auto stranger = makeService<Plain>();
    stranger->setParent(locator);
    locator->unregisterService(stranger);
    EXPECT_EQ(stranger->getParent(), locator);
    locator->unregisterService(older);
    EXPECT_EQ(locator->getWeakService<Clock>(), nullptr);
}

TEST(ServiceLocator, attachedService_unregistered_leavesNoCircleBehind) {
    auto locator = std::make_shared<ServiceLocator>();
    auto service = makeService<Plain>();
    locator->registerService(service, true, true);
    EXPECT_EQ(service->getParent(), locator);
    locator->unregisterService(locator->getService<Plain>());
    EXPECT_EQ(service->getParent(), nullptr);
    const std::weak_ptr<ServiceLocator> weakLocator = locator;
    const std::weak_ptr<Service> weakService = service;
    locator.reset();
    service.reset();
    EXPECT_TRUE(weakLocator.expired());
    EXPECT_TRUE(weakService.expired());
}

TEST(ServiceLocator, root_whenItGoes_releasesItsServices) {
    std::weak_ptr<Service> weak;
    {
        const ServiceLocatorStaticCtorDtor lifetime;
        auto service = makeService<Plain>();
        weak = service;
        ServiceLocator::instance()->registerService(service, true, true);
    }
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(ServiceLocator::instance(), nullptr);
    EXPECT_EQ(std::make_shared<ServiceLocator>()->getService<Plain>(), nullptr);
    // The process's own one goes at exit; it needs a root to release.
    static const auto* const again = new ServiceLocatorStaticCtorDtor;
    EXPECT_NE(again, nullptr);
}

// --- Service ------------------------------------------------------------------------

class Listener : public MessageSink {
public:
    std::vector<std::wstring> log;

    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord) override {
        log.push_back(
            std::wstring(kind.name()) + L" " +
            (kind == ChangeTracker::kPropertyChanged ? a.text() : std::to_wstring(a.number())));
        return true;
    }
};

TEST(Service, properties_beforeInitialisation_failTheAssertion) {
    const auto service = std::make_shared<Plain>();
    EXPECT_EQ(test::thrownText([&] { service->properties(); }), L"properties_");
    service->initialize();
    EXPECT_EQ(service->properties()->size(), 0U);
}

TEST(Service, changedPropertyAndAnnounce_reachTheServicesSinks) {
    auto service = makeService<Plain>();
    const auto listener = std::make_shared<Listener>();
    service->connect(listener, false);
    service->properties()->setLong(L"level", 3);
    service->announce();
    EXPECT_EQ(listener->log, (std::vector<std::wstring>{L"propertyChanged.ChangeTracker level",
                                                        L"logicalLockChanged.Service 0"}));
    // Settings may outlive their service; they then speak to nobody.
    const auto properties = service->properties();
    const std::weak_ptr<Service> weak = service;
    service.reset();
    EXPECT_TRUE(weak.expired());
    properties->setLong(L"level", 4);
    EXPECT_EQ(listener->log.size(), 2U);
}

TEST(Service, namedObjects_setReplacedAndRemoved_areFoundByExactName) {
    const auto service = makeService<Plain>();
    const auto first = std::make_shared<SharedObject>();
    const auto second = std::make_shared<SharedObject>();
    service->setNamedObject(L"a", first);
    service->setNamedObject(L"a", second);
    EXPECT_EQ(service->getNamedObject(L"a"), second);
    EXPECT_EQ(service->getNamedObject(L"A"), nullptr);
    EXPECT_EQ(first.use_count(), 1);
    service->removeNamedObject(L"a");
    service->removeNamedObject(L"missing");
    EXPECT_EQ(service->getNamedObject(L"a"), nullptr);
    EXPECT_EQ(second.use_count(), 1);
}

TEST(MessagingService, findKind_byName_knowsTheFrameworksKinds) {
    const auto service = makeService<MessagingService>();
    EXPECT_EQ(service->findKind(L"propertyChanged.ChangeTracker"),
              &ChangeTracker::kPropertyChanged);
    EXPECT_EQ(service->findKind(L"logicalLockChanged.Service"), &Service::kLogicalLockChanged);
    EXPECT_EQ(service->findKind(L"PropertyChanged.ChangeTracker"), nullptr);
}

}  // namespace
}  // namespace zustd
