#include "ZuPropertyBag.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <sstream>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using test::Random;
using test::readFromRange;
using test::readFromStream;
using test::Reading;
using test::xmlOf;
using Keys = std::vector<std::wstring>;

// Records which keys the hook ran for.
class HookedBag : public PropertyBag {
public:
    using PropertyBag::PropertyBag;

    Keys changed;
    std::function<void()> then;

    void onChanged(const std::wstring& key) override {
        changed.push_back(key);
        if (then) {
            then();
        }
    }
    Keys takeChanged() { return std::exchange(changed, {}); }
};

Keys keysOf(const PropertyBag& bag) {
    Keys keys = {L"old"};
    bag.keys(keys);
    return keys;
}

SerializableUnion longOf(std::int32_t number) {
    SerializableUnion value;
    value.setLong(number);
    return value;
}

// --- Getters and setters ------------------------------------------------------------

TEST(PropertyBag, setter_perKind_storesRealChangesOnly) {
    const struct {
        const char* kind;
        std::function<void(PropertyBag&)> setNeutral;
        std::function<void(PropertyBag&)> setOther;
    } kCases[] = {
        {"string", [](auto& bag) { bag.setString(L"k", L""); },
         [](auto& bag) { bag.setString(L"k", L"x"); }},
        {"long", [](auto& bag) { bag.setLong(L"k", 0); }, [](auto& bag) { bag.setLong(L"k", 1); }},
        {"double", [](auto& bag) { bag.setDouble(L"k", 0); },
         [](auto& bag) { bag.setDouble(L"k", 1); }},
        {"bool", [](auto& bag) { bag.setBool(L"k", false); },
         [](auto& bag) { bag.setBool(L"k", true); }},
        {"datetime", [](auto& bag) { bag.setDateTime(L"k", {}); },
         [](auto& bag) {
             bag.setDateTime(L"k", {2016, 1, 1});
         }},
        {"size", [](auto& bag) { bag.setSize(L"k", 0); }, [](auto& bag) { bag.setSize(L"k", 1); }},
        {"array", [](auto& bag) { bag.setArray(L"k", {}); },
         [](auto& bag) { bag.setArray(L"k", {longOf(1)}); }},
    };
    for (const auto& [kind, setNeutral, setOther] : kCases) {
        SCOPED_TRACE(kind);
        HookedBag bag;
        setNeutral(bag);
        EXPECT_EQ(bag.takeChanged(), Keys{L"k"}) << "a new key is a change, whatever its value";
        EXPECT_FALSE(bag.isNull(L"k"));
        setNeutral(bag);
        EXPECT_EQ(bag.takeChanged(), Keys());
        setOther(bag);
        setOther(bag);
        EXPECT_EQ(bag.takeChanged(), Keys{L"k"});
        bag.clear(L"k");
        bag.takeChanged();
        // A null value reads as the neutral one, so the neutral one is no change.
        setNeutral(bag);
        EXPECT_EQ(bag.takeChanged(), Keys());
        EXPECT_TRUE(bag.isNull(L"k"));
        setOther(bag);
        EXPECT_EQ(bag.takeChanged(), Keys{L"k"});
    }
}

TEST(PropertyBag, setDouble_storedNotANumber_alwaysCountsAsChanged) {
    HookedBag bag;
    bag.setDouble(L"k", std::nan(""));
    bag.setDouble(L"k", std::nan(""));
    EXPECT_EQ(bag.takeChanged().size(), 2U);
}

TEST(PropertyBag, getters_missingNullAndOtherKind_giveTheDefault) {
    PropertyBag bag;
    bag.setLong(L"null", 1);
    bag.clear(L"null");
    bag.setArray(L"array", {longOf(1)});
    for (const wchar_t* key : {L"missing", L"null", L"array", L"ARRAY"}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(bag.getString(key, L"d"), L"d");
        EXPECT_EQ(bag.getLong(key, -7), -7);
        EXPECT_EQ(bag.getDouble(key, 0.5), 0.5);
        EXPECT_TRUE(bag.getBool(key, true));
        EXPECT_EQ(bag.getDateTime(key, {2016, 1, 1}), DateTime(2016, 1, 1));
        EXPECT_EQ(bag.getSize(key, 9, true), 9U);
        std::wstring out = L"same";
        EXPECT_FALSE(bag.getString(key, out, out)) << "the default may be the result itself";
        EXPECT_EQ(out, L"same");
    }
    EXPECT_TRUE(bag.getArray(L"missing").empty());
    EXPECT_EQ(bag.getArray(L"array"), std::vector<SerializableUnion>{longOf(1)});
    EXPECT_TRUE(bag.getUnion(L"missing").isNull());
    EXPECT_EQ(bag.getUnion(L"array").getArray().size(), 1U);
    EXPECT_FALSE(bag.has(L"missing"));
}

TEST(PropertyBag, getSize_overALong_takesItOnlyWhenAskedAndNotNegative) {
    PropertyBag bag;
    bag.setLong(L"plus", 5);
    bag.setLong(L"minus", -1);
    bag.setSize(L"size", 1ULL << 40);
    EXPECT_EQ(bag.getSize(L"plus", 9, true), 5U);
    EXPECT_EQ(bag.getSize(L"plus", 9, false), 9U);
    EXPECT_EQ(bag.getSize(L"minus", 9, true), 9U);
    EXPECT_EQ(bag.getSize(L"size", 9, false), 1ULL << 40);
    bag.setSize(L"plus", 0);
    EXPECT_EQ(bag.getSize(L"plus", 9, true), 5U) << "a long reads as the neutral size";
}

TEST(PropertyBag, clear_anyKey_keepsTheEntryAndRunsTheHook) {
    HookedBag bag;
    bag.setLong(L"a", 1);
    bag.takeChanged();
    bag.clear(L"a");
    bag.clear(L"missing");
    EXPECT_EQ(bag.takeChanged(), Keys{L"a"});
    EXPECT_TRUE(bag.has(L"a"));
    EXPECT_TRUE(bag.isNull(L"a"));
    EXPECT_FALSE(bag.has(L"missing"));
    EXPECT_EQ(bag.size(), 1U);
    EXPECT_EQ(keysOf(bag), Keys{L"a"});
}

TEST(PropertyBag, setUnion_nullObjectAndValue_clearsRefusesAndStores) {
    HookedBag bag;
    bag.setUnion(L"a", longOf(1));
    bag.setUnion(L"a", longOf(1));
    EXPECT_EQ(bag.takeChanged(), Keys{L"a"});
    SerializableUnion object;
    object.setObject(std::make_shared<SharedObject>());
    bag.setUnion(L"a", object);
    bag.setUnion(L"b", object);
    EXPECT_EQ(bag.takeChanged(), Keys());
    EXPECT_FALSE(bag.has(L"b"));
    EXPECT_EQ(bag.getLong(L"a", 0), 1);
    bag.setUnion(L"a", SerializableUnion());
    EXPECT_EQ(bag.takeChanged(), Keys{L"a"});
    EXPECT_TRUE(bag.isNull(L"a"));
}

TEST(PropertyBag, announceAll_hookThatReadsTheBagAnew_endsTheRound) {
    HookedBag bag;
    for (const wchar_t* key : {L"z", L"a", L"m"}) {
        bag.setLong(key, 1);
    }
    bag.takeChanged();
    bag.announceAll();
    EXPECT_EQ(bag.takeChanged(), (Keys{L"z", L"a", L"m"}));
    bag.then = [&] {
        bag.then = nullptr;
        bag.parse(L"<bag><hmap><p><k>n1</k></p><p><k>n2</k></p></hmap></bag>");
    };
    bag.announceAll();
    EXPECT_EQ(bag.takeChanged(), (Keys{L"z", L"n1", L"n2"}));
}

TEST(PropertyBag, nullAllocator_bagThatIsFilled_failsTheAssertion) {
    PropertyBag bag(nullptr);
    EXPECT_EQ(bag.getLong(L"a", 3), 3);
    EXPECT_EQ(test::thrownText([&] { bag.setLong(L"a", 1); }), L"valueAllocator_");
    EXPECT_EQ(readFromRange(bag, L"<hmap><p><k>a</k></p></hmap>").failure,
              "failed: valueAllocator_");
    EXPECT_EQ(bag.size(), 0U);
}

// --- XML form -----------------------------------------------------------------------

TEST(PropertyBagXml, appendXml_anyBag_isTheExactText) {
    PropertyBag bag;
    EXPECT_EQ(xmlOf(bag), L"<bag>\n<hmap>\n</hmap>\n</bag>\n");
    bag.setLong(L"level", 3);
    EXPECT_EQ(xmlOf(bag),
              L"<bag>\n<hmap>\n<p><k>level</k><t>long</t><v>3</v></p>\n</hmap>\n</bag>\n");
    bag.setString(L"a<b", L"c&d");
    bag.clear(L"level");
    std::wostringstream stream;
    bag.writeXml(stream);
    EXPECT_EQ(stream.str(),
              L"<bag>\n<hmap>\n<p><k>level</k><t>null</t></p>\n"
              L"<p><k>a&lt;b</k><t>string</t><v>c&amp;d</v></p>\n</hmap>\n</bag>\n");
}

TEST(PropertyBagXml, readers_overTheSameDocument_agreeOnContentAndFailure) {
    const struct {
        const wchar_t* document;
        const wchar_t* properties;
        const char* failure;
    } kCases[] = {
        {L"", L"", ""},
        {L"<bag>", L"", ""},
        {L"<bag></bag>", L"", ""},
        {L"<hmap></hmap>", L"", ""},
        {L"<bag><other><p><k>a</k></p></other></bag>", L"", ""},
        {L"<bag>\n<hmap>\n<p><k>a</k><t>long</t><v>1</v></p>\n</hmap>", L"a=1 ", ""},
        {L"<bag><hmap><p><k>a</k><t>long</t><v>1</v></p></hmap></other>", L"a=1 ", ""},
        {L"<bag><hmap><p><k>a</k><t>long</t><v>1</v></p><p><k>b</k></p><p><k>a</k><t>long</t>"
         L"<v>2</v></p></hmap></bag>",
         L"a=2 b=0 ", ""},
        {L"<hmap><p><k>a</k><t>long</t><v>1</v></p><p><k>a</k></p></hmap>", L"a=0 ", ""},
        {L"<hmap>text<p x='1'><k>&lt;</k></p> </hmap>", L"<=0 ", ""},
        {L"<hmap><p></p></hmap>", L"", "invalid: <k> expected, but found </p>"},
        {L"<hmap><p><k>a</w>", L"", "invalid: </k> expected, but found </w>"},
        {L"<hmap><p><k>a</k><w></p></hmap>", L"a=0 ", "invalid: </p> expected, but found <w>"},
        {L"<hmap><p><k>a</k></p>", L"a=0 ", "invalid: <p> expected, but found <>"},
        {L"<hmap><p><k>a</k></p><q>", L"a=0 ", "invalid: <p> expected, but found <q>"},
        {L"<hmap></hmap", L"", "failed: sourcePos <= sourceEnd"},
        {L"<hmap></hmap >", L"", "invalid: </hmap> expected, but found </hmap >"},
    };
    for (const auto& [document, properties, failure] : kCases) {
        SCOPED_TRACE(testing::PrintToString(document));
        PropertyBag fromRange;
        PropertyBag fromStream;
        fromRange.setLong(L"old", 1);
        fromStream.setLong(L"old", 1);
        const Reading reading = readFromRange(fromRange, document);
        EXPECT_EQ(reading, readFromStream(fromStream, document));
        EXPECT_EQ(reading.failure, failure);
        for (const PropertyBag* bag : {&fromRange, &fromStream}) {
            std::wstring found;
            for (const std::wstring& key : keysOf(*bag)) {
                found += key + L"=" + std::to_wstring(bag->getLong(key, 0)) + L" ";
            }
            EXPECT_EQ(found, properties);
        }
    }
}

TEST(PropertyBagXml, reading_wholeBag_announcesFromARangeOnly) {
    const std::wstring document = L"<bag><hmap><p><k>b</k></p><p><k>a</k></p></hmap></bag>";
    HookedBag bag;
    readFromStream(bag, document);
    EXPECT_EQ(bag.takeChanged(), Keys());
    readFromRange(bag, document);
    EXPECT_EQ(bag.takeChanged(), (Keys{L"b", L"a"}));
    bag.parse(document);
    EXPECT_EQ(bag.takeChanged(), (Keys{L"b", L"a"}));
}

TEST(PropertyBagXml, randomBags_throughBothReaders_comeBackInOrder) {
    Random random(24);
    SCOPED_TRACE(random.label());
    for (int round = 0; round < 500; ++round) {
        PropertyBag bag;
        for (std::size_t i = random.below(40); i > 0; --i) {
            bag.setUnion(random.text(12), random.value(2));
        }
        const std::wstring document = xmlOf(bag);
        PropertyBag fromRange;
        PropertyBag fromStream;
        ASSERT_EQ(readFromRange(fromRange, document).failure, "") << round;
        ASSERT_EQ(readFromStream(fromStream, document).failure, "") << round;
        ASSERT_EQ(keysOf(fromRange), keysOf(bag));
        for (const std::wstring& key : keysOf(bag)) {
            ASSERT_EQ(fromRange.getUnion(key), bag.getUnion(key));
        }
        ASSERT_EQ(xmlOf(fromRange), document);
        ASSERT_EQ(xmlOf(fromStream), document);
    }
}

}  // namespace
}  // namespace zustd
