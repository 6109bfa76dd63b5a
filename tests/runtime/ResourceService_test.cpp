#include "ZuResourceService.h"

#include "ZuResourceServiceGeneric.h"
#include "ZuWindows.h"
#include "support/FrameworkTest.h"

namespace zustd::test {
namespace {

std::shared_ptr<ResourceService> makeInstalled(
    const ResourceLibrary& library = compiledInResources()) {
    auto service = makeService<ResourceService>();
    ResourceServiceGeneric::install(*service, library);
    return service;
}

TEST(ResourceService, localeName_choosesTextsByLanguageAndTellsOnce) {
    const auto service = makeInstalled();
    const auto neutral = makeInstalled();
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

TEST(ResourceService, installation_takesTheLanguageThatTheUserReads) {
    const auto address = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtSetDefaultUILanguage");
    const auto readIn = reinterpret_cast<LONG(WINAPI*)(LANGID)>(reinterpret_cast<void*>(address));
    const LANGID former = GetUserDefaultUILanguage();
    readIn(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN_AUSTRIAN));
    EXPECT_EQ(makeInstalled()->getNamespaceName(), L"de-xx");
    readIn(former);
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
    ResourceServiceGeneric& joined = *backend;
    joinImplementation(*service, std::move(backend));
    const std::wstring expected = L"namespaceResource_ != 0";
    EXPECT_EQ(thrownText([&] { service->getString(9001); }), expected);
    EXPECT_EQ(thrownText([&] { service->getNamespaceName(); }), expected);
    EXPECT_EQ(shownString(*service, 9007), L"");
    EXPECT_TRUE(service->selectLocale(L""));
    EXPECT_FALSE(service->selectLocale(L"qq"));
    EXPECT_EQ(service->getNamespaceName(), second) << "the library's default locale";
    EXPECT_EQ(service->getFileResource(100), nullptr);
    joined.setLibrary(library);
    EXPECT_EQ(thrownText([&] { service->getNamespaceName(); }), expected);
    library.rootName = L"other";
    EXPECT_FALSE(ResourceServiceGeneric::install(*service, library));
}

}  // namespace
}  // namespace zustd::test
