#include "ZuResourceService.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ZuResourceServiceGeneric.h"
#include "ZuWindows.h"

namespace zustd {
namespace {

using Run = std::pair<std::uint64_t, std::uint64_t>;

constexpr Run kKeyRuns[] = {{8001, 8007},   {9001, 9019},   {10001, 10001}, {10013, 10013},
                            {10033, 10033}, {10038, 10038}, {10041, 10042}, {10051, 10053},
                            {11000, 11087}, {11089, 11098}, {11100, 11126}, {11130, 11133},
                            {11138, 11344}, {11350, 11352}, {11360, 11365}};
constexpr Run kImageRuns[] = {{100, 116}, {120, 141}, {150, 165}, {170, 183},
                              {190, 219}, {230, 240}, {250, 257}, {260, 262},
                              {270, 277}, {300, 303}, {321, 321}, {330, 332}};

std::shared_ptr<ResourceService> makeInstalled(
    const ResourceLibrary& library = compiledInResources()) {
    auto service = makeService<ResourceService>();
    ResourceServiceGeneric::install(*service, library);
    return service;
}

// From the signature to the closing chunk.
bool isWholePng(const FileResource& file) {
    const std::string_view bytes(reinterpret_cast<const char*>(file.bytes), file.size);
    return bytes.starts_with("\x89PNG\r\n\x1A\n") && bytes.ends_with("IEND\xAE\x42\x60\x82");
}

// A library whose neutral namespace holds one string table.
class LibraryOfOneTable {
public:
    explicit LibraryOfOneTable(std::string bytes) : bytes_(std::move(bytes)) {
        file_ = {1, bytes_.size(), reinterpret_cast<const unsigned char*>(bytes_.data())};
    }
    std::shared_ptr<const StringTable> parsed() const {
        return makeInstalled(library_)->getStringTable();
    }

private:
    std::string bytes_;
    FileResource file_{};
    ResourceNamespace namespace_{L"xx-xx", 1, &file_};
    ResourceRoot root_{L"root", 1, &namespace_};
    ResourceLibrary library_{L"one", L"root", L"en-us", 1, &root_};
};

template <class LookUp>
std::wstring failureOf(LookUp&& lookUp) {
    try {
        lookUp();
    } catch (const std::wstring& text) {
        return text;
    }
    return L"no failure";
}

TEST(Resources, CompiledInRecords_HaveTheirNamesAndCounts) {
    const ResourceLibrary& library = compiledInResources();
    EXPECT_STREQ(library.name, L"libzueta");
    EXPECT_STREQ(library.defaultLocale, L"en-us");
    EXPECT_STREQ(library.rootName, L"default");
    ASSERT_EQ(library.rootCount, 1U);
    EXPECT_STREQ(library.roots[0].name, L"default");
    ASSERT_EQ(library.roots[0].namespaceCount, 4U);
    struct {
        const wchar_t* name;
        std::uint64_t fileCount;
        std::uint64_t tableSize;
    } const expected[] = {
        {L"de-xx", 2, 22450}, {L"fr-xx", 2, 24059}, {L"nl-xx", 2, 21401}, {L"xx-xx", 138, 20371}};
    for (std::size_t i = 0; i < 4; ++i) {
        const ResourceNamespace& resources = library.roots[0].namespaces[i];
        EXPECT_STREQ(resources.name, expected[i].name);
        ASSERT_EQ(resources.fileCount, expected[i].fileCount);
        EXPECT_EQ(resources.files[0].identifier, 1U);
        EXPECT_EQ(resources.files[0].size, expected[i].tableSize);
        EXPECT_EQ(std::memcmp(resources.files[0].bytes, "\xEF\xBB\xBF<?xml", 8), 0);
    }
}

TEST(ResourceService, LocaleName_ChoosesNamespaceByLanguage) {
    const auto service = makeInstalled();
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"de-DE", L"de-xx"}, {L"de_AT", L"de-xx"}, {L"DE", L"de-xx"},
        {L"fr", L"fr-xx"},    {L"fr-CA", L"fr-xx"}, {L"NL-be", L"nl-xx"},
        {L"en-us", L"xx-xx"}, {L"", L"xx-xx"},      {L"den-DE", L"xx-xx"},
        {L"d", L"xx-xx"},     {L"-de", L"xx-xx"},   {L"%n\xD800;", L"xx-xx"}};
    for (const auto& [locale, expected] : cases) {
        EXPECT_TRUE(service->selectLocale(locale));
        EXPECT_EQ(service->getNamespaceName(), expected) << locale;
    }
}

TEST(ResourceService, EmptyLocale_ChoosesDefaultLocaleOfLibrary) {
    ResourceLibrary library = compiledInResources();
    library.defaultLocale = L"nl-nl";
    const auto service = makeInstalled(library);
    EXPECT_TRUE(service->selectLocale(L""));
    EXPECT_EQ(service->getNamespaceName(), L"nl-xx");
}

TEST(ResourceService, Install_ChoosesLanguageOfUserAndNamesLibrary) {
    wchar_t language[16] = L"";
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SISO639LANGNAME, language, 16);
    const std::map<std::wstring, std::wstring> own = {
        {L"de", L"de-xx"}, {L"fr", L"fr-xx"}, {L"nl", L"nl-xx"}};
    const auto found = own.find(language);
    const auto service = makeInstalled();
    EXPECT_EQ(service->getNamespaceName(), found != own.end() ? found->second : L"xx-xx");
    EXPECT_EQ(service->libraryName(), L"libzueta");
}

TEST(ResourceService, EveryKey_HasTextInEveryLanguage) {
    const auto service = makeInstalled();
    for (const wchar_t* locale : {L"de", L"fr", L"nl", L"en"}) {
        service->selectLocale(locale);
        const auto table = service->getStringTable();
        EXPECT_EQ(table->size(), 380U) << locale;
        for (const auto& [first, last] : kKeyRuns) {
            for (std::uint64_t key = first; key <= last; ++key) {
                const std::wstring* text = table->find(key);
                EXPECT_TRUE(text != nullptr && !text->empty()) << locale << L" " << key;
            }
        }
    }
}

TEST(ResourceService, Texts_ComeDecodedInTheLanguageChosenLast) {
    const auto service = makeInstalled();
    service->selectLocale(L"en-us");
    const auto english = service->getStringTable();
    EXPECT_EQ(service->getString(11351), L"auto");
    EXPECT_EQ(service->getString(11020), L"Manage folder options");
    EXPECT_EQ(service->getString(9014), L"Next >");
    EXPECT_EQ(service->getString(11277), L"Do you want to file %1 emails in '%2'?");
    service->selectLocale(L"de-DE");
    EXPECT_EQ(service->getString(9002), L"Abbrechen");
    EXPECT_EQ(service->getString(9013), L"< Zur\u00FCck");
    EXPECT_EQ(service->getString(11277), L"M\u00F6chten Sie %1 E-Mails in '%2' ablegen?");
    service->selectLocale(L"fr-FR");
    EXPECT_EQ(service->getString(11013), L"Afficher d'autres dossiers...");
    service->selectLocale(L"nl-NL");
    EXPECT_EQ(service->getString(10053), L"Suggesties vernieuwen");
    // A table from before stays as it was.
    EXPECT_EQ(*english->find(9002), L"Cancel");
}

TEST(ResourceService, Images_ComeFromNeutralNamespaceUnlessLanguageReplacesThem) {
    const auto service = makeInstalled();
    service->selectLocale(L"en");
    std::map<std::uint64_t, const FileResource*> neutral;
    for (const auto& [first, last] : kImageRuns) {
        for (std::uint64_t identifier = first; identifier <= last; ++identifier) {
            const FileResource* file = service->getFileResource(identifier);
            ASSERT_TRUE(file != nullptr && file->identifier == identifier) << identifier;
            EXPECT_TRUE(isWholePng(*file)) << identifier;
            neutral[identifier] = file;
        }
    }
    EXPECT_EQ(neutral.size(), 137U);
    std::vector<std::string> badges;
    for (const wchar_t* locale : {L"en", L"de", L"fr", L"nl"}) {
        service->selectLocale(locale);
        for (const auto& [identifier, file] : neutral) {
            if (identifier != 321) {
                EXPECT_EQ(service->getFileResource(identifier), file) << locale << identifier;
            }
        }
        const FileResource* badge = service->getFileResource(321);
        ASSERT_TRUE(badge != nullptr && isWholePng(*badge));
        const std::string bytes(reinterpret_cast<const char*>(badge->bytes), badge->size);
        EXPECT_EQ(std::count(badges.begin(), badges.end(), bytes), 0) << locale;
        badges.push_back(bytes);
    }
}

TEST(ResourceService, MissingNumber_ComesOutEmpty) {
    const auto service = makeInstalled();
    for (const std::uint64_t identifier : {0ULL, 2ULL, 99ULL, 117ULL, 400ULL, ~0ULL}) {
        EXPECT_EQ(service->getFileResource(identifier), nullptr) << identifier;
    }
    for (const std::uint64_t key : {0ULL, 8000ULL, 11088ULL, 11345ULL, ~0ULL}) {
        EXPECT_EQ(service->getString(key), L"") << key;
    }
}

TEST(ResourceService, LookUpBeforeSelection_FailsAssertion) {
    auto service = makeService<ResourceService>();
    EXPECT_EQ(failureOf([&] { service->getString(9001); }), L"impl_");
    auto backend = std::make_unique<ResourceServiceGeneric>();
    backend->setLibrary(compiledInResources());
    joinImplementation(*service, std::move(backend));
    const std::wstring expected = L"namespaceResource_ != 0";
    EXPECT_EQ(failureOf([&] { service->getFileResource(100); }), expected);
    EXPECT_EQ(failureOf([&] { service->getStringTable(); }), expected);
    EXPECT_EQ(failureOf([&] { service->getString(9001); }), expected);
    EXPECT_EQ(failureOf([&] { service->getNamespaceName(); }), expected);
    EXPECT_TRUE(service->selectLocale(L"de"));
    EXPECT_EQ(service->getString(9007), L"Ja");
}

TEST(ResourceService, NoNamespaceForLocale_KeepsTheChosenOne) {
    ResourceRoot root = compiledInResources().roots[0];
    root.namespaceCount = 2;  // German and French, no neutral one
    const ResourceLibrary library{L"two", L"default", L"fr", 1, &root};
    const auto service = makeInstalled(library);
    EXPECT_TRUE(service->selectLocale(L""));
    EXPECT_FALSE(service->selectLocale(L"nl"));
    EXPECT_EQ(service->getNamespaceName(), L"fr-xx");
    EXPECT_EQ(service->getFileResource(100), nullptr);
    ResourceLibrary rootless = library;
    rootless.rootName = L"other";
    EXPECT_FALSE(makeInstalled(rootless)->selectLocale(L"de"));
}

TEST(ResourceService, Table_ReadsEntitiesOnceAndNeedsNoByteOrderMark) {
    const std::string table =
        "<stringtable>\n<s><k>7</k><v>&amp;lt;&lt;&gt;&apos;&quot;</v></s>\n"
        "<s><k>18446744073709551615</k><v></v></s>\n<s><k>7</k><v>again</v></s>\n</stringtable>\n";
    for (const std::string& bytes : {table, "\xEF\xBB\xBF" + table}) {
        const auto texts = LibraryOfOneTable(bytes).parsed();
        EXPECT_EQ(texts->size(), 2U);
        ASSERT_TRUE(texts->contains(7) && texts->contains(~0ULL));
        EXPECT_EQ(*texts->find(7), L"&lt;<>'\"");
    }
}

TEST(ResourceService, BrokenTable_IsEmptyAsAWhole) {
    const std::string good = "<stringtable><s><k>1</k><v>one</v></s>";
    ASSERT_EQ(LibraryOfOneTable(good + "</stringtable>").parsed()->size(), 1U);
    for (const std::string& bytes :
         {std::string(), std::string("plain"), good, good + "<s><k>2</k><v>two",
          good + "<s><k>2</k></s></stringtable>", good + "<s><v>two</v></s></stringtable>",
          good + "<s><k>2</k><v>two</v></stringtable>", good + "<s",
          good + "<s a=\"b><k>2</k><v>two</v></s></stringtable>", "\xEF\xBB" + good,
          good + "</stringtable>\xC3", "<table>" + good + "</stringtable>"}) {
        EXPECT_TRUE(LibraryOfOneTable(bytes).parsed()->empty()) << bytes;
    }
}

TEST(ResourceService, Registered_IsFoundByInterfaceAndByType) {
    const auto service = makeInstalled();
    const auto root = ServiceLocator::instance();
    ASSERT_EQ(root->getService<IResourceService>(), nullptr);
    root->registerService(service, true, true);
    EXPECT_EQ(root->getService<IResourceService>().get(), service.get());
    EXPECT_EQ(root->getService<ResourceService>(), service);
    root->unregisterService(service);
    EXPECT_EQ(root->getService<ResourceService>(), nullptr);
}

}  // namespace
}  // namespace zustd
