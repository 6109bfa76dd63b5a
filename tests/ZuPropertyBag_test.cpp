#include "ZuPropertyBag.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <sstream>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

// Records which keys the hook ran for.
class HookedBag : public PropertyBag {
public:
    Texts changed;
    std::function<void()> next = [] {};  // runs once

    void onChanged(std::wstring_view key) override {
        changed.emplace_back(key);
        std::exchange(next, [] {})();
    }
    Texts takeChanged() { return std::exchange(changed, {}); }
};

using Values = std::vector<SerializableUnion>;

Texts keysOf(const PropertyBag& bag) {
    Texts keys = {L"old"};
    bag.keys(keys);
    return keys;
}

SerializableUnion longOf(std::int32_t number) {
    SerializableUnion value;
    value.setLong(number);
    return value;
}

TEST(PropertyBag, setter_perKind_storesRealChangesOnly) {
    // Each sets the kind's neutral value or another one.
    const std::function<void(PropertyBag&, bool)> kSetters[] = {
        // clang-format off
        [](auto& bag, bool other) { bag.setString(L"k", other ? L"x" : L""); },
        [](auto& bag, bool other) { bag.setLong(L"k", other); },
        [](auto& bag, bool other) { bag.setDouble(L"k", other); },
        [](auto& bag, bool other) { bag.setBool(L"k", other); },
        [](auto& bag, bool other) { bag.setDateTime(L"k", {other ? 2016 : 0, 0, 0}); },
        [](auto& bag, bool other) { bag.setSize(L"k", other); },
        [](auto& bag, bool other) { bag.setArray(L"k", Values(other, longOf(1))); },
        // clang-format on
    };
    for (const auto& set : kSetters) {
        SCOPED_TRACE(&set - kSetters);
        HookedBag bag;
        const auto changes = [&](bool other) {
            set(bag, other);
            return bag.takeChanged().size();
        };
        EXPECT_EQ(changes(false), 1U) << "a new key is a change, whatever its value";
        EXPECT_EQ(changes(false), 0U);
        EXPECT_EQ(changes(true), 1U);
        EXPECT_EQ(changes(true), 0U);
        bag.clear(L"k");
        bag.takeChanged();
        EXPECT_EQ(changes(false), 0U) << "a null value reads as the neutral one";
        EXPECT_TRUE(bag.isNull(L"k"));
        EXPECT_EQ(changes(true), 1U);
    }
    HookedBag bag;
    bag.setDouble(L"k", std::nan(""));
    bag.setDouble(L"k", std::nan(""));
    EXPECT_EQ(bag.takeChanged(), (Texts{L"k", L"k"})) << "no number equals another";
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
    EXPECT_EQ(bag.getArray(L"array"), Values{longOf(1)});
    EXPECT_TRUE(bag.getArray(L"missing").empty() && bag.getUnion(L"missing").isNull());
    EXPECT_FALSE(bag.has(L"missing"));
    // A size may also be taken from a long that is not negative.
    bag.setLong(L"plus", 5);
    bag.setLong(L"minus", -1);
    for (const auto& [key, acceptLong, size] :
         {std::tuple{L"plus", true, 5U}, {L"plus", false, 9U}, {L"minus", true, 9U}}) {
        EXPECT_EQ(bag.getSize(key, 9, acceptLong), size) << key;
    }
    bag.setSize(L"plus", 0);
    EXPECT_EQ(bag.getSize(L"plus", 9, true), 5U) << "a long reads as the neutral size";
    bag.setSize(L"plus", 1ULL << 40);
    EXPECT_EQ(bag.getSize(L"plus", 9, false), 1ULL << 40);
}

TEST(PropertyBag, setUnionAndClear_storeRefuseObjectsAndKeepTheEntry) {
    HookedBag bag;
    SerializableUnion object;
    object.setObject(std::make_shared<SharedObject>());
    bag.setUnion(L"a", longOf(1));
    bag.setUnion(L"a", longOf(1));
    bag.setUnion(L"a", object);
    bag.setUnion(L"b", object);
    bag.clear(L"b");
    EXPECT_EQ(bag.takeChanged(), Texts{L"a"});
    EXPECT_EQ(bag.getLong(L"a", 0), 1);
    bag.clear(L"a");
    bag.setUnion(L"c", longOf(1));
    bag.setUnion(L"c", SerializableUnion());
    EXPECT_EQ(bag.takeChanged(), (Texts{L"a", L"c", L"c"}));
    EXPECT_TRUE(bag.has(L"a") && bag.isNull(L"a") && bag.isNull(L"c"));
    EXPECT_EQ(bag.size(), 2U);
    EXPECT_EQ(keysOf(bag), (Texts{L"a", L"c"}));
}

TEST(PropertyBag, announceAll_hookThatReadsTheBagAnew_endsTheRound) {
    const std::wstring document = L"<bag><hmap><p><k>z</k></p><p><k>a</k></p></hmap></bag>";
    HookedBag bag;
    readFromStream(bag, document);
    EXPECT_EQ(bag.takeChanged(), Texts()) << "only reading from a range announces";
    readFromRange(bag, document);
    EXPECT_EQ(bag.takeChanged(), (Texts{L"z", L"a"}));
    bag.next = [&] { bag.parse(L"<hmap><p><k>n1</k></p><p><k>n2</k></p></hmap>"); };
    bag.announceAll();
    EXPECT_EQ(bag.takeChanged(), (Texts{L"z", L"n1", L"n2"}));
}

TEST(PropertyBagXml, appendXml_anyBag_isTheExactText) {
    PropertyBag bag;
    EXPECT_EQ(xmlOf(bag), L"<bag>\n<hmap>\n</hmap>\n</bag>\n");
    PropertyBag unfilled(nullptr);
    EXPECT_EQ(readFromRange(unfilled, L"<hmap><p><k>a</k></p></hmap>").failure,
              "failed: valueAllocator_");
    bag.setLong(L"level", 3);
    bag.clear(L"level");
    bag.setString(L"a<b", L"c&d");
    std::wostringstream stream;
    bag.writeXml(stream);
    EXPECT_EQ(stream.str(),
              L"<bag>\n<hmap>\n<p><k>level</k><t>null</t></p>\n"
              L"<p><k>a&lt;b</k><t>string</t><v>c&amp;d</v></p>\n</hmap>\n</bag>\n");
    EXPECT_EQ(xmlOf(bag), stream.str());
}

TEST(PropertyBagXml, readers_overTheSameDocument_agreeOnContentAndFailure) {
    const std::tuple<const wchar_t*, const wchar_t*, const char*> kCases[] = {
        // clang-format off
        {L"", L"", ""}, {L"<bag>", L"", ""}, {L"<bag></bag>", L"", ""}, {L"<hmap></hmap>", L"", ""},
        {L"<bag><other><p><k>a</k></p></other></bag>", L"", ""},
        {L"<bag>\n<hmap>\n<p><k>a</k><t>long</t><v>1</v></p>\n</hmap>", L"a=1 ", ""},
        {L"<bag><hmap><p><k>a</k><t>long</t><v>1</v></p></hmap></other>", L"a=1 ", ""},
        {L"<hmap><p><k>a</k><t>long</t><v>1</v></p><p><k>b</k></p>"
         L"<p><k>a</k><t>long</t><v>2</v></p></hmap>", L"a=2 b=0 ", ""},
        {L"<hmap><p><k>a</k><t>long</t><v>1</v></p><p><k>a</k></p></hmap>", L"a=0 ", ""},
        {L"<hmap>text<p x='1'><k>&lt;</k></p> </hmap>", L"<=0 ", ""},
        {L"<hmap><p></p></hmap>", L"", "invalid: <k> expected, but found </p>"},
        {L"<hmap><p><k>a</k><w></p></hmap>", L"a=0 ", "invalid: </p> expected, but found <w>"},
        {L"<hmap><p><k>a</k></p><q>", L"a=0 ", "invalid: <p> expected, but found <q>"},
        // clang-format on
    };
    for (const auto& [document, properties, failure] : kCases) {
        SCOPED_TRACE(testing::PrintToString(document));
        for (const auto& read : kBothReaders) {
            PropertyBag bag;
            bag.setLong(L"old", 1);
            EXPECT_EQ(read(bag, document).failure, failure);
            std::wstring found;
            for (const std::wstring& key : keysOf(bag)) {
                found += key + L"=" + std::to_wstring(bag.getLong(key, 0)) + L" ";
            }
            EXPECT_EQ(found, properties);
        }
    }
}

TEST(PropertyBagXml, randomBags_throughBothReaders_comeBackInOrder) {
    Random random(24);
    SCOPED_TRACE(random.label());
    for (int round = 0; round < 500; ++round) {
        PropertyBag bag;
        random.fill(bag, 40, 12, 4);
        const std::wstring document = xmlOf(bag);
        for (const auto& read : kBothReaders) {
            PropertyBag back;
            // The end tag's line feed is left.
            ASSERT_EQ(read(back, document), (Reading{"", document.size() - 1})) << round;
            ASSERT_EQ(keysOf(back), keysOf(bag));
            for (const std::wstring& key : keysOf(bag)) {
                ASSERT_EQ(back.getUnion(key), bag.getUnion(key));
            }
        }
    }
}

}  // namespace
}  // namespace zustd
