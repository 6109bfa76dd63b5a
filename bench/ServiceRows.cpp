// Services found by type, and values of a bag by key.
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "PeerBag.h"
#include "Rows.h"
#include "ZuService.h"

namespace bench {

namespace {

// As often in one run, which takes fractions of a microsecond each.
constexpr int kLookUps = 100;
constexpr int kKeys = 1000;

// --- Look-up ---------------------------------------------------------------------------------

template <int Number>
struct Numbered : zustd::Service {};

// A registry as a host has it, looked up from a service of its own.
struct Host {
    std::shared_ptr<zustd::ServiceLocator> registry = std::make_shared<zustd::ServiceLocator>();
    std::vector<std::shared_ptr<zustd::Service>> services{
        zustd::makeService<Numbered<0>>(), zustd::makeService<Numbered<1>>(),
        zustd::makeService<Numbered<2>>(), zustd::makeService<Numbered<3>>()};
    std::shared_ptr<zustd::Service> asking = zustd::makeService<zustd::Service>();

    Host() {
        for (const auto& service : services) {
            registry->registerService(service, true, true);
        }
        registry->registerService(asking, true, false);
    }
    ~Host() { registry->unregisterAll(); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
};

// The least of it: the newest in a list that is one, without a name, a registry
// or its parents.
template <class T>
std::shared_ptr<T> findByHand(const std::vector<std::shared_ptr<zustd::Service>>& services) {
    for (auto each = services.rbegin(); each != services.rend(); ++each) {
        if (auto found = std::dynamic_pointer_cast<T>(*each)) {
            return found;
        }
    }
    return nullptr;
}

void lookUpOurs(benchmark::State& state) {
    const Host host;
    require(host.asking->getService<Numbered<1>>() == host.services[1], "the service found");
    for (auto _ : state) {
        for (int i = 0; i < kLookUps; ++i) {
            benchmark::DoNotOptimize(host.asking->getService<Numbered<1>>());
        }
    }
}

void lookUpByHand(benchmark::State& state) {
    const Host host;
    for (auto _ : state) {
        for (int i = 0; i < kLookUps; ++i) {
            benchmark::DoNotOptimize(findByHand<Numbered<1>>(host.services));
        }
    }
}

// --- Values ----------------------------------------------------------------------------------

std::vector<std::wstring> makeKeys() {
    std::vector<std::wstring> keys;
    for (int i = 0; i < kKeys; ++i) {
        keys.push_back(L"view.column.width." + std::to_wstring(i));
    }
    return keys;
}

// The values of one round: others than those of the round before.
std::int32_t numberOf(int round, std::size_t i) { return static_cast<std::int32_t>(i) + round % 2; }
const std::wstring& textOf(int round) {
    static const std::wstring texts[] = {L"Inbox", L"Tom & Jerry <tj@example.com>"};
    return texts[round % 2];
}

// Runs a step for every key, over and over.
template <class Bag, class Step>
Body forEachKey(Step step) {
    return [step](benchmark::State& state) {
        const std::vector<std::wstring> keys = makeKeys();
        Bag bag;
        int round = 0;
        for (auto _ : state) {
            ++round;
            for (std::size_t i = 0; i < keys.size(); ++i) {
                step(bag, keys[i], round, i);
            }
        }
    };
}

template <class Ours, class Theirs>
void addBagRow(const std::string& work, Ours ours, Theirs theirs) {
    addOurs(work, forEachKey<zustd::PropertyBag>(ours));
    addPeer(work, "unordered_map", forEachKey<PeerBag>(theirs));
}

void addBagRows(const std::string& count) {
    addBagRow(
        "bag set " + count + " longs",
        [](zustd::PropertyBag& bag, const std::wstring& key, int round, std::size_t i) {
            bag.setLong(key, numberOf(round, i));
        },
        [](PeerBag& bag, const std::wstring& key, int round, std::size_t i) {
            bag[key] = numberOf(round, i);
        });
    addBagRow(
        "bag set " + count + " texts",
        [](zustd::PropertyBag& bag, const std::wstring& key, int round, std::size_t) {
            bag.setString(key, textOf(round));
        },
        [](PeerBag& bag, const std::wstring& key, int round, std::size_t) {
            bag[key] = textOf(round);
        });
    // A bag without the key is filled by the first round.
    addBagRow(
        "bag get " + count + " longs",
        [](zustd::PropertyBag& bag, const std::wstring& key, int round, std::size_t i) {
            round == 1 ? bag.setLong(key, numberOf(0, i)) : void();
            benchmark::DoNotOptimize(bag.getLong(key, 0));
        },
        [](PeerBag& bag, const std::wstring& key, int round, std::size_t i) {
            round == 1 ? static_cast<void>(bag[key] = numberOf(0, i)) : void();
            const auto found = bag.find(key);
            const auto* value =
                found != bag.end() ? std::get_if<std::int32_t>(&found->second) : nullptr;
            benchmark::DoNotOptimize(value != nullptr ? *value : 0);
        });
    addBagRow(
        "bag get " + count + " texts",
        [](zustd::PropertyBag& bag, const std::wstring& key, int round, std::size_t) {
            round == 1 ? bag.setString(key, textOf(1)) : void();
            benchmark::DoNotOptimize(bag.getString(key, std::wstring()));
        },
        [](PeerBag& bag, const std::wstring& key, int round, std::size_t) {
            round == 1 ? static_cast<void>(bag[key] = textOf(1)) : void();
            const auto found = bag.find(key);
            const auto* value =
                found != bag.end() ? std::get_if<std::wstring>(&found->second) : nullptr;
            benchmark::DoNotOptimize(value != nullptr ? *value : std::wstring());
        });
}

}  // namespace

void addServiceRows() {
    addOurs("100 services found", lookUpOurs);
    addPeer("100 services found", "cast by hand", lookUpByHand, Kind::kLimit);
    addBagRows(std::to_string(kKeys));
}

}  // namespace bench
