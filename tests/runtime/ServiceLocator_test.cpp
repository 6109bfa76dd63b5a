#include "ZuServiceLocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "ZuMessagingService.h"
#include "ZuService.h"
#include "ZuTrackingPropertyBag.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

// A second holder of the root, as a host may have one: the process must end well.
const ServiceLocatorStaticCtorDtor rootHolder;

// clang-format off
struct IClock { virtual ~IClock() = default; };
struct Plain : Service { using Service::Service; };
struct Clock : Service, IClock { using Service::Service; };
// clang-format on

// --- The registry, against a model -----------------------------------------------------------

const std::wstring kNames[] = {L"", L"", L"a", L"A"};

// A registry in plain words.
struct Model : std::enable_shared_from_this<Model> {
    using Reference = std::shared_ptr<Model>;
    bool isClock;
    std::wstring name;
    Reference parent{};
    std::vector<std::pair<std::weak_ptr<Model>, Reference>> entries{};  // second when owned

    Model(bool clock, const std::wstring& wanted) : isClock(clock), name(wanted) {}
    static Reference make(bool isClock, const std::wstring& name) {
        return std::make_shared<Model>(isClock, name);
    }
    static Reference root() {
        static const Reference root = make(false, {});
        return root;
    }
    void setParent(const Reference& wanted) { parent = wanted; }
    void registerService(const Reference& service, bool attach, bool own) {
        const auto isService = [&](auto& entry) { return entry.first.lock() == service; };
        if (std::ranges::none_of(entries, isService)) {
            entries.emplace_back(service, own ? service : nullptr);
            service->parent = attach ? shared_from_this() : service->parent;
        }
    }
    void unregisterService(const Reference& service) {
        const auto isService = [&](auto& entry) { return entry.first.lock() == service; };
        if (std::erase_if(entries, isService) != 0 && service->parent.get() == this) {
            service->parent = nullptr;
        }
    }
    void unregisterAll() {
        while (!entries.empty()) {
            const auto [service, owned] = entries.back();
            service.expired() ? entries.pop_back() : unregisterService(service.lock());
            owned ? owned->unregisterAll() : void();
        }
    }
    Reference findHere(bool clocks, const std::wstring& wantedName, bool weak) const {
        Reference found;
        for (const auto& [entry, owned] : entries) {
            const Reference service = entry.lock();
            if (service && weak == !owned && (!clocks || service->isClock) &&
                (wantedName.empty() || service->name == wantedName)) {
                found = service;
            }
        }
        return found;
    }
    static Reference find(const Model& from, bool clocks, const std::wstring& name, bool weak,
                          bool local) {
        // Farther than any chain goes without a ring.
        const Model* at = &from;
        for (int steps = 0; at != nullptr && steps < 300; ++steps, at = at->parent.get()) {
            Reference found = at->findHere(clocks, name, weak);
            if (found || weak || local) {
                return found;
            }
        }
        return root()->findHere(clocks, name, false);
    }
};

struct Real {
    using Reference = std::shared_ptr<Service>;

    static Reference make(bool isClock, const std::wstring& name) {
        return isClock ? Reference(makeService<Clock>(name)) : makeService<Plain>(name);
    }
    static std::shared_ptr<ServiceLocator> root() { return ServiceLocator::instance(); }
    template <class T>
    static Reference findA(const ServiceLocator& at, const std::wstring& name, bool weak,
                           bool local) {
        return std::dynamic_pointer_cast<Service>(weak ? at.getWeakService<T>(name)
                                                       : at.getService<T>(name, local));
    }
    static Reference find(const ServiceLocator& at, bool clocks, const std::wstring& name,
                          bool weak, bool local) {
        return (clocks ? findA<IClock> : findA<Service>)(at, name, weak, local);
    }
};

// Registers, attaches, lets go and asks as the seed has it; what was found by its
// number, and who is alive.
template <class World>
std::string play(Random random) {
    std::string log;
    typename World::Reference nodes[6];
    std::vector<typename World::Reference::weak_type> all;
    for (int i = 0; i < 120; ++i) {
        auto& node = nodes[random.below(std::size(nodes))];
        auto& other = nodes[random.below(std::size(nodes))];
        for (auto* each : {&node, &other}) {
            if (!*each) {
                const bool isClock = random.below(2) == 0;
                all.push_back(*each = World::make(isClock, random.pick(kNames)));
            }
        }
        const bool first = random.below(2) == 0;
        const bool second = random.below(2) == 0;
        const bool atRoot = random.below(2) == 0;
        auto& at = atRoot ? *World::root() : *other;
        const std::size_t choice = random.below(16);
        if (choice < 6) {
            at.registerService(node, first, second);
        } else if (choice == 6) {
            at.unregisterService(node);
        } else if (choice == 7 && first && second) {
            at.unregisterAll();
        } else if (choice == 8) {
            node->setParent(first ? other : nullptr);
        } else if (choice == 9) {
            node = nullptr;
        } else {
            const auto& name = random.pick(kNames);
            const auto found = World::find(at, i % 2 == 0, name, first && second, second);
            const auto number = std::ranges::find_if(
                all, [&](const auto& each) { return found && each.lock() == found; });
            log += " " + std::to_string(number - all.begin()) + " ";
        }
        for (const auto& each : all) {
            log += each.expired() ? '-' : '+';
        }
    }
    // Whatever was made comes to its end when the circles are opened.
    std::fill(std::begin(nodes), std::end(nodes), nullptr);
    World::root()->unregisterAll();
    for (const auto& each : all) {
        if (const auto left = each.lock()) {
            left->unregisterAll();
            left->setParent(nullptr);
        }
    }
    EXPECT_TRUE(std::ranges::all_of(all, [](auto& each) { return each.expired(); }));
    return log;
}

TEST(ServiceLocator, registeringAttachingAndLettingGoAtRandom_isFoundAsTheModelSays) {
    { const ServiceLocatorStaticCtorDtor third; }
    for (std::uint64_t seed = 1; seed <= 1000 && !HasFailure(); ++seed) {
        ASSERT_EQ(play<Real>(Random(seed)), play<Model>(Random(seed))) << "seed " << seed;
    }
}

TEST(ServiceLocator, registrationThatFails_leavesTheRegistryAsItWas) {
    struct Refusing : Service {
        void setParent(const std::shared_ptr<ServiceLocator>&) override {
            throw std::wstring(L"refused");
        }
    };
    const auto locator = std::make_shared<ServiceLocator>();
    ServiceLocator unowned;
    for (const bool own : {false, true}) {
        locator->registerService(nullptr, true, own);
        locator->unregisterService(nullptr);
        const auto refusing = makeService<Refusing>();
        EXPECT_EQ(thrownText([&] { locator->registerService(refusing, true, own); }), L"refused");
        EXPECT_EQ(thrownText([&] { unowned.registerService(refusing, true, own); }),
                  L"!attach || self");
        for (const ServiceLocator* each : {locator.get(), &unowned}) {
            EXPECT_TRUE(!each->getService<Service>() && !each->getWeakService<Service>());
        }
    }
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
    service->removeNamedObject(L"a");
    EXPECT_EQ(service->getNamedObject(L"a"), nullptr);
    EXPECT_EQ(service.use_count() + object.use_count(), 2);
    // Settings may outlive their service; they then speak to nobody.
    const auto properties = service->properties();
    service.reset();
    properties->setLong(L"level", 4);
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
    for (int depth = 0; depth < 30000; ++depth) {
        const auto parent = std::exchange(registry, std::make_shared<ServiceLocator>());
        registry->setParent(parent);
    }
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
    EXPECT_TRUE(bag->isChanged());
    bag->markSaved();
    bag->setLong(L"a", 0);
    bag->announceCacheCleared();
    EXPECT_FALSE(bag->isChanged());
    bag->clear(L"a");
    EXPECT_TRUE(bag->isChanged());
    EXPECT_EQ(heard(), (Texts{changed + L"a", cleared, changed + L"a"}));
    bag->parse(L"<bag><hmap><p><k>z</k></p><p><k>y</k></p></hmap></bag>");
    EXPECT_EQ(heard(), (Texts{changed + L"z", changed + L"y"}));
    first->next = [&] { bag->parse(L"<hmap><p><k>after</k></p></hmap>"); };
    const std::wstring key = L"a key that is too long for a small string";
    bag->setLong(key, 1);
    EXPECT_EQ(heard(), (Texts{changed + L"after", changed + key}));
    listener->next = [&] { bag.reset(); };
    bag->announcePropertyChanged(L"c", true);
    EXPECT_EQ(heard(), Texts{cleared});
}

}  // namespace
}  // namespace zustd
