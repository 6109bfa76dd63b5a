#include "ZuServiceLocator.h"

#include <gtest/gtest.h>

#include "ZuMessagingService.h"
#include "ZuService.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

// clang-format off
struct IClock { virtual ~IClock() = default; };
struct Plain : Service { using Service::Service; };
struct Clock : Service, IClock { using Service::Service; };
struct BetterClock : Clock { using Clock::Clock; };
// clang-format on

class ServiceLocatorTest : public testing::Test {
protected:
    std::shared_ptr<ServiceLocator> locator_ = std::make_shared<ServiceLocator>();
};

TEST_F(ServiceLocatorTest, getService_severalOfOneType_findsTheNewestThatFits) {
    const auto first = makeService<Clock>(L"a");
    const auto second = makeService<BetterClock>(L"b");
    const auto third = makeService<Clock>(L"a");
    const auto other = makeService<Plain>(L"b");
    for (const std::shared_ptr<Service>& service :
         std::initializer_list<std::shared_ptr<Service>>{first, nullptr, second, third, other}) {
        locator_->registerService(service, false, true);
    }
    EXPECT_EQ(locator_->getService<Clock>(), third);
    EXPECT_EQ(locator_->getService<BetterClock>(), second);
    EXPECT_EQ(locator_->getService<Clock>(L"b"), second);
    EXPECT_EQ(locator_->getService<Clock>(L"a"), third);
    EXPECT_EQ(locator_->getService<Clock>(L"A"), nullptr);
    EXPECT_EQ(locator_->getService<Service>(), other);
    EXPECT_EQ(locator_->getService<IClock>().get(), static_cast<IClock*>(third.get()));
    EXPECT_EQ(locator_->getService<MessagingService>(), nullptr);
    // Registering again changes nothing, unregistering uncovers the older one.
    locator_->registerService(first, true, true);
    EXPECT_EQ(first->getParent(), nullptr);
    EXPECT_EQ(locator_->getService<Clock>(), third);
    for (const auto& [gone, next] : {std::pair{third, std::shared_ptr<Clock>(second)},
                                     {third, second},
                                     {std::shared_ptr<Clock>(second), first},
                                     {nullptr, first}}) {
        locator_->unregisterService(gone);
        EXPECT_EQ(locator_->getService<Clock>(), next);
    }
}

TEST_F(ServiceLocatorTest, getService_notFoundHere_climbsTheParentsAndThenTriesTheRoot) {
    const auto top = std::make_shared<ServiceLocator>();
    const auto middle = std::make_shared<ServiceLocator>();
    locator_->setParent(middle);
    middle->setParent(top);
    const auto inTop = makeService<Clock>(L"top");
    top->registerService(inTop, false, true);
    const auto inRoot = makeService<Clock>(L"root");
    ServiceLocator::instance()->registerService(inRoot, true, true);
    EXPECT_EQ(locator_->getService<Clock>(), inTop);
    EXPECT_EQ(locator_->getService<Clock>(L"root"), inRoot);
    EXPECT_EQ(locator_->getService<Clock>(L"", true), nullptr);
    EXPECT_EQ(locator_->getService<Clock>(L"nobody"), nullptr);
    locator_->setParent(nullptr);
    EXPECT_EQ(locator_->getService<Clock>(), inRoot);
    // What a service holds itself is seen from there only.
    const auto nested = makeService<Plain>();
    inRoot->registerService(nested, false, true);
    EXPECT_EQ(inRoot->getService<Plain>(), nested);
    EXPECT_EQ(locator_->getService<Plain>(), nullptr);
    EXPECT_EQ(ServiceLocator::instance()->getService<Plain>(), nullptr);
    ServiceLocator::instance()->unregisterService(inRoot);
}

TEST_F(ServiceLocatorTest, weakService_isFoundByTheWeakSearchWhileItLives) {
    const auto older = makeService<Clock>(L"older");
    auto newer = makeService<Clock>(L"newer");
    locator_->registerService(older, false, false);
    locator_->registerService(newer, true, false);
    locator_->registerService(newer, false, true);
    locator_->registerService(nullptr, true, false);
    EXPECT_EQ(newer->getParent(), locator_);
    EXPECT_EQ(locator_->getService<Clock>(L"", true), nullptr);
    EXPECT_EQ(locator_->getWeakService<Clock>(), newer);
    EXPECT_EQ(locator_->getWeakService<Clock>(L"older"), older);
    EXPECT_EQ(locator_->getWeakService<Plain>(), nullptr);
    newer.reset();
    EXPECT_EQ(locator_->getWeakService<Clock>(), older);
    // A stranger is not detached because an expired entry goes on the way.
    const auto stranger = makeService<Plain>();
    stranger->setParent(locator_);
    locator_->unregisterService(stranger);
    EXPECT_EQ(stranger->getParent(), locator_);
    locator_->unregisterService(older);
    EXPECT_EQ(locator_->getWeakService<Clock>(), nullptr);
}

TEST_F(ServiceLocatorTest, attachedService_unregisteredOrRootGone_isReleased) {
    auto service = makeService<Plain>();
    const std::weak_ptr<Service> weak = service;
    locator_->registerService(service, true, true);
    EXPECT_EQ(service->getParent(), locator_);
    locator_->unregisterService(locator_->getService<Plain>());
    EXPECT_EQ(service->getParent(), nullptr);
    {
        const ServiceLocatorStaticCtorDtor lifetime;
        ServiceLocator::instance()->registerService(service, true, true);
        service.reset();
        EXPECT_FALSE(weak.expired());
    }
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(ServiceLocator::instance(), nullptr);
    EXPECT_EQ(locator_->getService<Plain>(), nullptr);
    // The process's own one goes at exit; it needs a root to release.
    static const auto* const again = new ServiceLocatorStaticCtorDtor;
    EXPECT_NE(again, nullptr);
}

TEST(ServiceTest, propertiesAndAnnouncements_reachTheServicesSinks) {
    auto service = std::make_shared<Plain>();
    EXPECT_EQ(thrownText([&] { service->properties(); }), L"properties_");
    service->initialize();
    const auto listener = std::make_shared<Listener>();
    service->connect(listener, false);
    service->properties()->setLong(L"level", 3);
    service->announce();
    EXPECT_EQ(listener->log,
              (Texts{L"propertyChanged.ChangeTracker level", L"logicalLockChanged.Service 0"}));
    // Settings may outlive their service; they then speak to nobody.
    const auto properties = service->properties();
    const std::weak_ptr<Service> weak = std::exchange(service, nullptr);
    EXPECT_TRUE(weak.expired());
    properties->setLong(L"level", 4);
    EXPECT_EQ(listener->log.size(), 2U);
}

TEST(ServiceTest, namedObjectsAndKinds_areFoundByExactName) {
    const auto service = makeService<MessagingService>();
    const auto object = std::make_shared<SharedObject>();
    service->setNamedObject(L"a", service);
    service->setNamedObject(L"a", object);
    EXPECT_EQ(service->getNamedObject(L"a"), object);
    EXPECT_EQ(service->getNamedObject(L"A"), nullptr);
    service->removeNamedObject(L"missing");
    service->removeNamedObject(L"a");
    EXPECT_EQ(service->getNamedObject(L"a"), nullptr);
    EXPECT_EQ(service.use_count() + object.use_count(), 2);
    EXPECT_EQ(service->findKind(L"logicalLockChanged.Service"), &Service::kLogicalLockChanged);
    EXPECT_EQ(service->findKind(L"LogicalLockChanged.Service"), nullptr);
}

}  // namespace
}  // namespace zustd
