#include "ZuServiceLocator.h"

#include "ZuMessagingService.h"
#include "ZuService.h"
#include "ZuTrackingPropertyBag.h"
#include "support/FrameworkTest.h"

namespace zustd::test {
namespace {

// A second holder of the root, as a host may have one: the process must end well.
const ServiceLocatorStaticCtorDtor rootHolder;

// clang-format off
struct IClock { virtual ~IClock() = default; };
struct Plain : Service { using Service::Service; };
struct Clock : Service, IClock { using Service::Service; };
// clang-format on

// The name of the clock that is found.
std::wstring nameOf(const std::shared_ptr<IClock>& clock) {
    return clock ? dynamic_cast<Service&>(*clock).name() : L"none";
}

TEST(ServiceLocator, services_areFoundByKindNameAndPlace) {
    { const ServiceLocatorStaticCtorDtor third; }
    ServiceLocator& root = *ServiceLocator::instance();
    const auto top = makeService<Plain>(L"top");
    const auto inner = makeService<Plain>(L"inner");
    const auto leaf = makeService<Plain>(L"leaf");
    const auto outside = makeService<Plain>(L"outside");
    auto clock = makeService<Clock>(L"a");
    root.registerService(makeService<Clock>(L"root"), false, true);
    top->registerService(inner, true, true);
    top->registerService(clock, false, true);
    top->registerService(makeService<Clock>(L"A"), false, true);
    top->registerService(leaf, false, true);
    top->registerService(clock, true, false);
    inner->registerService(leaf, true, true);
    inner->registerService(clock, false, false);
    inner->registerService(clock, true, true);
    inner->registerService(top, false, false);
    inner->registerService(makeService<Clock>(L"gone"), false, false);
    outside->setParent(leaf);
    EXPECT_EQ(clock->getParent(), nullptr) << "registered once";
    using Row = std::tuple<const ServiceLocator*, const wchar_t*, bool, const wchar_t*>;
    // Climbing goes on in a ring as well.
    for (const auto& aboveTop : {std::shared_ptr<Plain>(), leaf}) {
        top->setParent(aboveTop);
        const Row kRows[] = {{leaf.get(), L"", false, L"A"},
                             {leaf.get(), L"a", false, L"a"},
                             {outside.get(), L"A", false, L"A"},
                             {leaf.get(), L"root", false, L"root"},
                             {outside.get(), L"none", false, L"none"},
                             {leaf.get(), L"a", true, L"none"},
                             {top.get(), L"", true, L"A"},
                             {inner.get(), L"gone", false, L"none"}};
        for (const auto& [at, name, local, found] : kRows) {
            EXPECT_EQ(nameOf(at->getService<IClock>(name, local)), found) << narrow(name);
        }
    }
    EXPECT_EQ(top->getService<Service>(), leaf) << "the newest";
    EXPECT_EQ(inner->getWeakService<Service>(), top) << "the newest";
    EXPECT_EQ(nameOf(inner->getWeakService<IClock>()), L"a");
    EXPECT_EQ(nameOf(inner->getWeakService<IClock>(L"A")), L"none");
    EXPECT_EQ(nameOf(leaf->getWeakService<IClock>()), L"none") << "no climbing";
    top->unregisterService(leaf);
    EXPECT_EQ(leaf->getParent(), inner) << "attached elsewhere";
    top->unregisterService(clock);
    inner->unregisterService(clock);
    EXPECT_EQ(nameOf(leaf->getService<IClock>(L"a")), L"none");
    EXPECT_EQ(nameOf(inner->getWeakService<IClock>()), L"none");
    // All of it comes to its end when the circles are opened.
    leaf->registerService(clock, true, true);
    inner->registerService(outside, true, false);
    const std::weak_ptr<Clock> weak = std::exchange(clock, nullptr);
    top->unregisterAll();
    EXPECT_TRUE(weak.expired());
    EXPECT_TRUE(!inner->getParent() && !leaf->getParent() && !outside->getParent());
    top->setParent(nullptr);
    EXPECT_EQ(inner.use_count() + leaf.use_count() + outside.use_count(), 3);
    root.unregisterAll();
    EXPECT_EQ(nameOf(leaf->getService<IClock>()), L"none");
}

TEST(ServiceLocator, registrationThatFails_leavesTheRegistryAsItWas) {
    struct Refusing : Service {
        void setParent(const std::shared_ptr<ServiceLocator>&) override {
            throw std::wstring(L"refused");
        }
    };
    const auto locator = std::make_shared<ServiceLocator>();
    for (const bool own : {false, true}) {
        locator->registerService(nullptr, true, own);
        locator->unregisterService(nullptr);
        EXPECT_EQ(thrownText([&] { locator->registerService(makeService<Refusing>(), true, own); }),
                  L"refused");
        EXPECT_TRUE(!locator->getService<Service>() && !locator->getWeakService<Service>());
    }
    EXPECT_EQ(
        thrownText([] { ServiceLocator().registerService(makeService<Plain>(), true, true); }),
        L"!attach || self");
}

TEST(ServiceTest, propertiesAnnouncementsAndNamedObjects_belongToTheService) {
    auto service = std::make_shared<Plain>();
    EXPECT_EQ(thrownText([&] { service->properties(); }), L"properties_");
    service->initialize();
    const auto listener = std::make_shared<Listener>();
    service->connect(listener, false);
    service->properties()->setLong(L"level", 3);
    service->announce();
    EXPECT_EQ(listener->log,
              (Texts{L"propertyChanged.ChangeTracker level", L"logicalLockChanged.Service 0"}));
    const auto object = std::make_shared<SharedObject>();
    service->setNamedObject(L"a", service);
    service->setNamedObject(L"a", object);
    EXPECT_EQ(service->getNamedObject(L"a"), object);
    EXPECT_EQ(service->getNamedObject(L"A"), nullptr);
    service->removeNamedObject(L"a");
    EXPECT_EQ(service->getNamedObject(L"a"), nullptr);
    EXPECT_EQ(service.use_count() + object.use_count(), 2);
    EXPECT_EQ(makeService<MessagingService>()->findKind(L"logicalLockChanged.Service"),
              &Service::kLogicalLockChanged);
}

TEST(ServiceTest, whatGoesAwayAndUsesOrEndsItsHolder_findsItWhole) {
    const auto leaving = [](auto&& last) {
        const auto kept = makeService<Plain>();
        return std::shared_ptr<Service>(kept.get(), [kept, last](Service*) { last(); });
    };
    const auto other = makeService<Plain>();
    auto service = makeService<Plain>();
    Plain& bare = *service;
    bare.setNamedObject(L"a", leaving([&] { bare.setNamedObject(L"a", other); }));
    bare.setNamedObject(L"a", nullptr);
    EXPECT_EQ(bare.getNamedObject(L"a"), other);
    bare.removeNamedObject(L"a");
    bare.setParent(leaving([&] { bare.setParent(other); }));
    bare.setParent(nullptr);
    EXPECT_EQ(bare.getParent(), other);
    bare.setParent(nullptr);
    EXPECT_EQ(other.use_count(), 1);
    // Held by its own object.
    const std::weak_ptr<Service> weak = service;
    bare.setNamedObject(L"a", leaving([kept = std::exchange(service, nullptr)] {}));
    bare.removeNamedObject(L"a");
    EXPECT_TRUE(weak.expired());
    // A registry that is going away takes along what it is given.
    auto registry = std::make_shared<ServiceLocator>();
    ServiceLocator& going = *registry;
    going.registerService(leaving([&] { going.registerService(other, false, true); }), false, true);
    registry.reset();
    EXPECT_EQ(other.use_count(), 1);
}

TEST(TrackingPropertyBag, changes_areCountedAndAnnouncedOnceWhateverTheSinksDo) {
    const auto first = std::make_shared<Listener>();
    const auto listener = std::make_shared<Listener>();
    const std::wstring changed = L"propertyChanged.ChangeTracker ";
    const std::wstring cleared = L"cacheCleared.ChangeTracker ";
    auto bag = std::make_unique<TrackingPropertyBag>();
    bag->connect(first, false);
    bag->connect(listener, false);
    const auto heard = [&] { return std::exchange(listener->log, {}); };
    bag->setLong(L"a", 0);
    bag->markSaved();
    bag->setLong(L"a", 0);
    bag->announceCacheCleared();
    EXPECT_FALSE(bag->isChanged());
    bag->clear(L"a");
    EXPECT_TRUE(bag->isChanged());
    EXPECT_EQ(heard(), (Texts{changed + L"a", cleared, changed + L"a"}));
    first->next = [&] { bag->parse(L"<hmap><p><k>after</k></p></hmap>"); };
    const std::wstring key = L"a key that is too long for a small string";
    bag->setLong(key, 1);
    EXPECT_EQ(heard(), (Texts{changed + L"after", changed + key}));
    listener->next = [&] { bag.reset(); };
    bag->announcePropertyChanged(L"c", true);
    EXPECT_EQ(heard(), Texts{cleared});
}

}  // namespace
}  // namespace zustd::test
