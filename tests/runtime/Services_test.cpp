#include "ZuServiceLocator.h"

#include "ZuMessagingService.h"
#include "ZuResourceServiceGeneric.h"
#include "ZuService.h"
#include "ZuTrackingPropertyBag.h"
#include "ZuWindows.h"
#include "support/FrameworkTest.h"

extern "C" void* __imp_GetUserPreferredUILanguages IMPORT_SLOT("GetUserPreferredUILanguages",
                                                               "@16");

namespace zustd::test {
namespace {

// A second holder of the root, as a host may have one: the process must end well.
const ServiceLocatorStaticCtorDtor rootHolder;

// clang-format off
struct IClock { virtual ~IClock() = default; };
struct Plain : Service { using Service::Service; };
struct Clock : Service, IClock { using Service::Service; };
struct Refusing : Service { void setParent(const std::shared_ptr<ServiceLocator>&) override { throw std::wstring(L"refused"); } };
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
    makeService<Plain>()->setParent(outside);
    EXPECT_EQ(clock->getParent(), nullptr) << "registered once";
    const auto found = [](const auto& at, const wchar_t* name, bool local = false) {
        return nameOf(at->template getService<IClock>(name, local));
    };
    // Climbing goes on in a ring as well.
    for (const auto& aboveTop : {std::shared_ptr<Plain>(), leaf}) {
        top->setParent(aboveTop);
        EXPECT_EQ((Texts{found(leaf, L""), found(leaf, L"a"), found(outside, L"A"),
                         found(leaf, L"root"), found(top, L"", true)}),
                  (Texts{L"A", L"a", L"A", L"root", L"A"}));
        EXPECT_EQ((Texts{found(outside, L"none"), found(leaf, L"a", true), found(inner, L"gone")}),
                  Texts(3, L"none"));
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
    top->registerService(inner, true, true);
    top->unregisterService(inner);
    EXPECT_TRUE(!inner->getParent() && !leaf->getParent() && !outside->getParent());
    top->setParent(nullptr);
    EXPECT_EQ(inner.use_count() + leaf.use_count() + outside.use_count(), 3);
    root.unregisterAll();
    EXPECT_EQ(nameOf(leaf->getService<IClock>()), L"none");
}

TEST(ServiceLocator, registrationThatFails_leavesTheRegistryAsItWas) {
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

TEST(ServiceTest, whatGoesAwayAndUsesOrEndsItsHolder_findsItWhole) {
    const auto leaving = [](auto&& last) {
        const auto kept = makeService<Plain>();
        return std::shared_ptr<Service>(kept.get(), [kept, last](Service*) { last(); });
    };
    EXPECT_EQ(thrownText([] { Service().properties(); }), L"properties_");
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
    const auto listener = std::make_shared<Listener>();
    other->connect(listener, true);
    other->announce();
    other->properties()->setLong(L"a", 1);
    EXPECT_EQ(listener->log,
              (Texts{L"logicalLockChanged.Service 0", L"propertyChanged.ChangeTracker a"}));
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

std::shared_ptr<ResourceService> makeInstalled(const ResourceLibrary& all = compiledInResources()) {
    auto service = makeService<ResourceService>();
    ResourceServiceGeneric::install(*service, all);
    return service;
}

BOOL WINAPI giveTwo(DWORD, ULONG*, wchar_t* names, ULONG* length) {
    constexpr std::wstring_view kNames(L"nl-BE\0de-DE\0", 13);
    *length = static_cast<ULONG>(kNames.size());
    return names == nullptr || kNames.copy(names, *length) != 0;
}

TEST(ResourceService, localeName_choosesTextsByLanguageAndTellsOnce) {
    const ReplacedImport user(__imp_GetUserPreferredUILanguages, reinterpret_cast<void*>(&giveTwo));
    const auto service = makeInstalled();
    const auto neutral = makeInstalled();
    EXPECT_EQ(neutral->getNamespaceName(), L"nl-xx") << "the first that the user wants to see";
    neutral->selectLocale(L"xx");
    EXPECT_EQ(service->libraryName(), L"libzueta");
    service->selectLocale(L"en");
    const auto listener = std::make_shared<Listener>();
    service->connect(listener, true);
    const std::tuple<const wchar_t*, std::wstring, std::uint64_t, const wchar_t*> kRows[] = {
        {L"de_AT", L"de-xx", 11277, L"M\u00F6chten Sie %1 E-Mails in '%2' ablegen?"},
        {L"FR", L"fr-xx", 11013, L"Afficher d'autres dossiers..."},
        {L"NL-be", L"nl-xx", 10053, L"Suggesties vernieuwen"},
        {L"nl", L"nl-xx", 11345, L""},
        {L"den-DE", L"xx-xx", 9014, L"Next >"},
        {L"", L"xx-xx", 9002, L"Cancel"}};
    std::wstring last = L"xx-xx";
    for (const auto& [locale, name, key, text] : kRows) {
        EXPECT_TRUE(service->selectLocale(locale));
        EXPECT_EQ(service->getNamespaceName(), name) << locale;
        EXPECT_EQ(service->getString(key), text) << locale;
        const bool isOther = std::exchange(last, name) != name;
        const Texts said(isOther ? 1 : 0, L"languageChanged.ResourceService " + name);
        EXPECT_EQ(std::exchange(listener->log, {}), said) << locale;
        const auto table = service->getStringTable();
        EXPECT_EQ(table->size(), 380U) << locale;
        const FileResource* label = service->getFileResource(321);
        EXPECT_EQ(label == neutral->getFileResource(321), name == L"xx-xx");
        EXPECT_NE(service->getFileResource(100), nullptr) << "an image for all languages";
        service->selectLocale(name);
        EXPECT_EQ(service->getStringTable(), table) << "parsed once";
    }
}

TEST(ResourceService, noBackendOrNamespace_failsAssertionOrKeepsTheChosenOne) {
    auto service = makeService<ResourceService>();
    EXPECT_EQ(thrownText([&] { service->getString(9001); }), L"impl_");
    ResourceRoot root = compiledInResources().roots[0];
    root.namespaceCount = 2;  // no neutral one
    const wchar_t* const second = root.namespaces[1].name;
    ResourceLibrary library{L"two", L"default", second, 1, &root};
    auto backend = std::make_unique<ResourceServiceGeneric>();
    backend->setLibrary(library);
    joinImplementation(*service, std::move(backend));
    const std::wstring expected = L"namespaceResource_ != 0";
    EXPECT_EQ(thrownText([&] { service->getString(9001); }), expected);
    EXPECT_EQ(thrownText([&] { service->getNamespaceName(); }), expected);
    EXPECT_TRUE(service->selectLocale(L""));
    EXPECT_FALSE(service->selectLocale(L"qq"));
    EXPECT_EQ(service->getNamespaceName(), second) << "the library's default locale";
    library.rootName = L"other";
    EXPECT_FALSE(ResourceServiceGeneric::install(*service, library));
}

TEST(ResourceService, tableThatLacksATagOrItsEnd_isRefusedAsAWhole) {
    const std::string table =
        "<stringtable><s><k>7</k><v>a</v></s><s><k>7</k><v>b</v></s></stringtable>";
    for (std::size_t at = 0; at <= table.size(); ++at) {
        const std::string bytes = std::string(table).erase(at, table.find('>', at) + 1 - at);
        const FileResource file{kStringTableIdentifier, bytes.size(),
                                reinterpret_cast<const unsigned char*>(bytes.data())};
        const ResourceNamespace any{L"xx", 1, &file};
        const ResourceRoot root{L"root", 1, &any};
        const ResourceLibrary library{L"small", L"root", L"", 1, &root};
        EXPECT_EQ(makeInstalled(library)->getString(7), at == table.size() ? L"a" : L"") << bytes;
    }
}

}  // namespace
}  // namespace zustd::test
