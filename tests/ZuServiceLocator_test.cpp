#include "ZuServiceLocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "ZuMessagingService.h"
#include "ZuService.h"
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
struct BetterClock : Clock { using Clock::Clock; };
// clang-format on

// --- Registration and look-up, against a model -----------------------------------------------

enum class Kind { kPlain, kClock, kBetterClock };
constexpr Kind kKinds[] = {Kind::kPlain, Kind::kClock, Kind::kBetterClock};
enum class Wanted { kService, kPlain, kIClock, kBetterClock };
constexpr Wanted kWanted[] = {Wanted::kService, Wanted::kPlain, Wanted::kIClock,
                              Wanted::kBetterClock};
const std::wstring kNames[] = {L"", L"", L"a", L"A"};

struct RealRegistry {
    using Locator = ServiceLocator;
    using Node = Service;
    using Reference = std::shared_ptr<Service>;

    static Locator& root() { return *ServiceLocator::instance(); }
    static Reference make(Kind kind, const std::wstring& name) {
        return kind == Kind::kPlain   ? Reference(makeService<Plain>(name))
               : kind == Kind::kClock ? Reference(makeService<Clock>(name))
                                      : Reference(makeService<BetterClock>(name));
    }
    template <class T>
    static const void* get(const Locator& at, const std::wstring& name, bool weak, bool local) {
        const auto found = weak ? at.getWeakService<T>(name) : at.getService<T>(name, local);
        return dynamic_cast<const void*>(found.get());
    }
    static const void* find(const Locator& at, Wanted wanted, const std::wstring& name, bool weak,
                            bool local) {
        return wanted == Wanted::kService ? get<Service>(at, name, weak, local)
               : wanted == Wanted::kPlain ? get<Plain>(at, name, weak, local)
               : wanted == Wanted::kIClock ? get<IClock>(at, name, weak, local)
                                           : get<BetterClock>(at, name, weak, local);
    }
    static const void* parentOf(const Node& node) {
        return dynamic_cast<const void*>(node.getParent().get());
    }
};

struct ModelRegistry : std::enable_shared_from_this<ModelRegistry> {
    using Locator = ModelRegistry;
    using Node = ModelRegistry;
    using Reference = std::shared_ptr<ModelRegistry>;
    struct Entry {
        std::weak_ptr<ModelRegistry> service;
        Reference owned;
    };
    Kind kind{};
    std::wstring name;
    std::vector<Entry> entries;
    Reference parent;

    virtual ~ModelRegistry() = default;
    static Locator& root() {
        static const auto made = std::make_shared<ModelRegistry>();
        return *made;
    }
    static Reference make(Kind kind, const std::wstring& name) {
        auto made = std::make_shared<ModelRegistry>();
        made->kind = kind;
        made->name = name;
        return made;
    }
    bool remove(const Reference& service) {
        return std::erase_if(entries, [&](const Entry& entry) {
                   return entry.service.lock() == service;
               }) != 0;
    }
    void registerService(const Reference& service, bool attach, bool own) {
        for (const Entry& entry : entries) {
            if (entry.service.lock() == service) {
                return;
            }
        }
        entries.push_back({service, own ? service : nullptr});
        if (attach) {
            service->parent = shared_from_this();
        }
    }
    void unregisterService(const Reference& service) {
        if (remove(service) && service->parent.get() == this) {
            service->parent = nullptr;
        }
    }
    void unregisterAll() {
        while (!entries.empty()) {
            const Entry last = entries.back();
            entries.pop_back();
            const Reference service = last.service.lock();
            if (service && service->parent.get() == this) {
                service->parent = nullptr;
            }
            if (last.owned) {
                last.owned->unregisterAll();
            }
        }
    }
    void setParent(const Reference& wantedParent) { parent = wantedParent; }
    static const void* parentOf(const Node& node) { return node.parent.get(); }
    const void* findHere(Wanted wanted, const std::wstring& wantedName, bool weak) const {
        const void* found = nullptr;
        for (const Entry& entry : entries) {
            const Reference service = entry.service.lock();
            if (service && weak == !entry.owned &&
                (wantedName.empty() || service->name == wantedName) &&
                (wanted == Wanted::kService || (wanted == Wanted::kPlain) ==
                                                   (service->kind == Kind::kPlain)) &&
                (wanted != Wanted::kBetterClock || service->kind == Kind::kBetterClock)) {
                found = service.get();
            }
        }
        return found;
    }
    static const void* find(const Locator& at, Wanted wanted, const std::wstring& name, bool weak,
                            bool local) {
        std::set<const Locator*> seen;
        const void* found = nullptr;
        for (const Locator* climbing = &at; climbing != nullptr && seen.insert(climbing).second;
             climbing = climbing->parent.get()) {
            found = climbing->findHere(wanted, name, weak);
            if (found != nullptr || local || weak) {
                return found;
            }
        }
        return root().findHere(wanted, name, weak);
    }
};

// Registers, attaches, lets go and asks as the seed has it, and writes down each
// answer and how many services there are.
template <class Registry>
std::vector<std::size_t> play(std::uint64_t seed) {
    Random random(seed);
    std::vector<std::weak_ptr<typename Registry::Node>> all;
    std::map<const void*, std::size_t> numbers;
    typename Registry::Reference nodes[6];
    std::vector<std::size_t> log;
    numbers[dynamic_cast<const void*>(&Registry::root())] = 1000;
    const auto flip = [&] { return random.below(2) == 0; };
    const auto isLiving = [](const auto& node) { return !node.expired(); };
    for (int i = 0; i < 120; ++i) {
        auto& node = nodes[random.below(std::size(nodes))];
        auto& other = nodes[random.below(std::size(nodes))];
        for (auto* each : {&node, &other}) {
            if (!*each) {
                const Kind kind = random.pick(kKinds);
                *each = Registry::make(kind, random.pick(kNames));
                all.push_back(*each);
                numbers[dynamic_cast<const void*>(each->get())] = all.size();
            }
        }
        typename Registry::Locator& at =
            flip() ? Registry::root() : static_cast<typename Registry::Locator&>(*other);
        const std::size_t choice = random.below(16);
        const bool first = flip();
        const bool second = flip();
        if (choice < 6) {
            at.registerService(node, first, second);
        } else if (choice == 6) {
            at.unregisterService(node);
        } else if (choice == 7 && first && second) {
            at.unregisterAll();
        } else if (choice == 8) {
            node->setParent(first ? other : nullptr);
        } else if (choice == 9) {
            node.reset();
        } else if (choice == 10) {
            log.push_back(numbers[Registry::parentOf(*node)]);
        } else {
            const Wanted wanted = random.pick(kWanted);
            log.push_back(
                numbers[Registry::find(at, wanted, random.pick(kNames), first && second, second)]);
        }
        log.push_back(static_cast<std::size_t>(std::count_if(all.begin(), all.end(), isLiving)));
    }
    Registry::root().unregisterAll();
    for (const auto& weak : all) {
        if (const auto node = weak.lock()) {
            node->unregisterAll();
            node->setParent(nullptr);
        }
    }
    std::fill(std::begin(nodes), std::end(nodes), nullptr);
    EXPECT_EQ(std::count_if(all.begin(), all.end(), isLiving), 0);
    return log;
}

TEST(ServiceLocator, registeringAttachingAndLettingGoAtRandom_isFoundAsTheModelSays) {
    for (std::uint64_t seed = 1; seed <= 1000; ++seed) {
        ASSERT_EQ(play<RealRegistry>(seed), play<ModelRegistry>(seed)) << "seed " << seed;
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

TEST(ServiceLocator, rootHeldTwice_staysUntilTheLastHolderGoes) {
    const auto root = ServiceLocator::instance();
    { const ServiceLocatorStaticCtorDtor third; }
    EXPECT_EQ(ServiceLocator::instance(), root);
    EXPECT_NE(root, nullptr);
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
    // An object that takes its service along.
    struct Ending : SharedObject {
        std::shared_ptr<Service> service = makeService<Service>();
    };
    auto ending = std::make_shared<Ending>();
    Service& ended = *ending->service;
    ended.setNamedObject(L"a", std::exchange(ending, nullptr));
    ended.removeNamedObject(L"a");
    EXPECT_EQ(service->findKind(L"logicalLockChanged.Service"), &Service::kLogicalLockChanged);
    EXPECT_EQ(service->findKind(L"LogicalLockChanged.Service"), nullptr);
}

}  // namespace
}  // namespace zustd
