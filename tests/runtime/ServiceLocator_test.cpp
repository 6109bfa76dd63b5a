#include "ZuServiceLocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>

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

// What is looked for, and whether plain services and clocks are that.
template <class T>
const void* find(const ServiceLocator& at, const std::wstring& name, bool weak, bool local) {
    return dynamic_cast<const void*>(weak ? at.getWeakService<T>(name).get()
                                          : at.getService<T>(name, local).get());
}
const struct {
    const void* (*find)(const ServiceLocator& at, const std::wstring& name, bool weak, bool local);
    bool is[2];
} kWanted[] = {
    {&find<Service>, {true, true}}, {&find<Plain>, {true, false}}, {&find<IClock>, {false, true}}};
const std::wstring kNames[] = {L"", L"", L"a", L"A"};

// A registry in plain words, with the address of the real one.
struct Model : std::enable_shared_from_this<Model> {
    using Reference = std::shared_ptr<Model>;
    const void* real = nullptr;
    bool isClock = false;
    std::wstring name;
    Reference parent;
    std::vector<std::pair<std::weak_ptr<Model>, Reference>> entries;  // second when owned

    void registerService(const Reference& service, bool attach, bool own) {
        if (std::none_of(entries.begin(), entries.end(),
                         [&](const auto& entry) { return entry.first.lock() == service; })) {
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
    const void* findHere(const bool* is, const std::wstring& wantedName, bool weak) const {
        const void* found = nullptr;
        for (const auto& [entry, owned] : entries) {
            const Reference service = entry.lock();
            if (service && weak == !owned && is[service->isClock] &&
                (wantedName.empty() || service->name == wantedName)) {
                found = service->real;
            }
        }
        return found;
    }
    const void* find(const bool* is, const std::wstring& wantedName, bool weak, bool local,
                     const Model& root) const {
        std::set<const Model*> seen;
        for (const Model* at = this; at != nullptr && seen.insert(at).second;
             at = at->parent.get()) {
            const void* found = at->findHere(is, wantedName, weak);
            if (found != nullptr || weak || local) {
                return found;
            }
        }
        return root.findHere(is, wantedName, weak);
    }
};

struct Twins {
    std::shared_ptr<Service> real;
    std::shared_ptr<Model> model = std::make_shared<Model>();
};

Twins made(Random& random) {
    Twins twins;
    twins.model->isClock = random.below(2) == 0;
    const std::wstring& name = twins.model->name = random.pick(kNames);
    twins.real = makeService<Plain>(name);
    if (twins.model->isClock) {
        twins.real = makeService<Clock>(name);
    }
    twins.model->real = dynamic_cast<const void*>(twins.real.get());
    return twins;
}

// Registers, attaches, lets go and asks as the seed has it.
void playRegistry(std::uint64_t seed) {
    Random random(seed);
    const auto root = std::make_shared<Model>();
    root->real = dynamic_cast<const void*>(ServiceLocator::instance().get());
    { const ServiceLocatorStaticCtorDtor third; }
    ASSERT_EQ(dynamic_cast<const void*>(ServiceLocator::instance().get()), root->real);
    Twins nodes[6];
    std::vector<std::pair<std::weak_ptr<Service>, std::weak_ptr<Model>>> all;
    for (int i = 0; i < 120; ++i) {
        Twins& node = nodes[random.below(std::size(nodes))];
        Twins& other = nodes[random.below(std::size(nodes))];
        for (Twins* each : {&node, &other}) {
            if (!each->real) {
                *each = made(random);
                all.emplace_back(each->real, each->model);
            }
        }
        const bool first = random.below(2) == 0;
        const bool second = random.below(2) == 0;
        const bool atRoot = random.below(2) == 0;
        ServiceLocator& real = atRoot ? *ServiceLocator::instance() : *other.real;
        Model& model = atRoot ? *root : *other.model;
        const std::size_t choice = random.below(16);
        if (choice < 6) {
            real.registerService(node.real, first, second);
            model.registerService(node.model, first, second);
        } else if (choice == 6) {
            real.unregisterService(node.real);
            model.unregisterService(node.model);
        } else if (choice == 7 && first && second) {
            real.unregisterAll();
            model.unregisterAll();
        } else if (choice == 8) {
            node.real->setParent(first ? other.real : nullptr);
            node.model->parent = first ? other.model : nullptr;
        } else if (choice == 9) {
            node = {nullptr, nullptr};
        } else {
            const auto& wanted = random.pick(kWanted);
            const std::wstring& name = random.pick(kNames);
            ASSERT_EQ(wanted.find(real, name, first && second, second),
                      model.find(wanted.is, name, first && second, second, *root));
        }
        for (const auto& [service, twin] : all) {
            ASSERT_EQ(service.expired(), twin.expired());
        }
    }
    // Whatever was made comes to its end when the circles are opened.
    std::fill(std::begin(nodes), std::end(nodes), Twins{});
    ServiceLocator::instance()->unregisterAll();
    for (const auto& [service, twin] : all) {
        if (const auto left = service.lock()) {
            left->unregisterAll();
            left->setParent(nullptr);
        }
        if (const auto left = twin.lock()) {
            left->unregisterAll();
            left->parent = nullptr;
        }
    }
    EXPECT_TRUE(std::all_of(all.begin(), all.end(),
                            [](const auto& entry) { return entry.first.expired(); }));
}

TEST(ServiceLocator, registeringAttachingAndLettingGoAtRandom_isFoundAsTheModelSays) {
    for (std::uint64_t seed = 1; seed <= 1000 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        playRegistry(seed);
    }
}

TEST(ServiceLocator, registrationThatFails_leavesTheServiceAsItWas) {
    struct Refusing : Service {
        bool refuses = true;
        void setParent(const std::shared_ptr<ServiceLocator>& parent) override {
            refuses ? throw std::wstring(L"refused") : Service::setParent(parent);
        }
    };
    const auto locator = std::make_shared<ServiceLocator>();
    const auto service = makeService<Refusing>();
    for (const bool own : {false, true}) {
        locator->registerService(nullptr, true, own);
        locator->unregisterService(nullptr);
        EXPECT_EQ(thrownText([&] { locator->registerService(service, true, own); }), L"refused");
        EXPECT_EQ(locator->getService<Service>(), nullptr);
        EXPECT_EQ(locator->getWeakService<Service>(), nullptr);
    }
    service->refuses = false;
    locator->registerService(service, true, false);
    ServiceLocator unowned;
    EXPECT_EQ(thrownText([&] { unowned.registerService(service, true, true); }),
              L"!attach || self");
    EXPECT_EQ(unowned.getService<Service>(), nullptr);
    EXPECT_EQ(service->getParent(), locator);
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

// Does something when it goes.
struct Leaving : Service {
    explicit Leaving(std::function<void()> runs) : last(std::move(runs)) {}
    ~Leaving() override { last(); }
    std::function<void()> last;
};

TEST(ServiceTest, whatGoesAwayAndUsesOrEndsItsHolder_findsItWhole) {
    const auto leaving = [](auto&& last) { return std::make_shared<Leaving>(last); };
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
    // Held by its own object, then by its own parent.
    std::weak_ptr<Service> weak = service;
    bare.setNamedObject(L"a", leaving([kept = std::exchange(service, nullptr)] {}));
    bare.removeNamedObject(L"a");
    EXPECT_TRUE(weak.expired());
    auto registry = std::make_shared<ServiceLocator>();
    weak = service = makeService<Plain>();
    registry->registerService(std::exchange(service, nullptr), true, true);
    Service& held = *weak.lock();
    registry.reset();
    held.setParent(nullptr);
    EXPECT_TRUE(weak.expired());
    // A registry that is going away takes along what it is given.
    registry = std::make_shared<ServiceLocator>();
    ServiceLocator& going = *registry;
    going.registerService(leaving([&] { going.registerService(other, false, true); }), false, true);
    registry.reset();
    EXPECT_EQ(other.use_count(), 1);
    for (int depth = 0; depth < 30000; ++depth) {
        const auto parent = std::exchange(registry, std::make_shared<ServiceLocator>());
        registry->setParent(parent);
    }
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
