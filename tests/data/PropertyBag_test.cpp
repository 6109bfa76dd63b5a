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
    // Keys that a hook adds are announced by their setters alone.
    bag.next = [&] { bag.setLong(L"n3", 1); };
    bag.announceAll();
    EXPECT_EQ(bag.takeChanged(), (Texts{L"n1", L"n3", L"n2"}));
    auto gone = std::make_unique<HookedBag>();
    readFromStream(*gone, document);
    Texts changed;
    gone->next = [&] {
        changed = gone->changed;
        gone.reset();
    };
    gone->announceAll();
    EXPECT_EQ(changed, Texts{L"z"});
}

TEST(PropertyBag, arraysThatCouldNotBeReadBack_areRefused) {
    SerializableUnion object;
    object.setObject(std::make_shared<SharedObject>());
    const auto arrayOf = [](const Values& elements) {
        SerializableUnion array;
        array.setArray(elements);
        return array;
    };
    Values deep;
    for (int depth = 0; depth < 127; ++depth) {
        deep = {arrayOf(deep)};
    }
    HookedBag bag;
    bag.setArray(L"deep", deep);
    EXPECT_EQ(bag.takeChanged(), Texts{L"deep"});
    const std::tuple<SerializableUnion, const wchar_t*> kRefused[] = {
        {arrayOf({arrayOf(deep)}), L"depth <= kMaxDepth"},
        {arrayOf({longOf(1), object}), L"!isObject()"},
        {arrayOf({arrayOf({object})}), L"!isObject()"}};
    for (const auto& [value, failure] : kRefused) {
        EXPECT_EQ(thrownText([&] { bag.setUnion(L"k", value); }), failure);
        EXPECT_EQ(thrownText([&] { bag.setArray(L"k", value.getArray()); }), failure);
    }
    EXPECT_EQ(bag.takeChanged(), Texts());
    EXPECT_EQ(keysOf(bag), Texts{L"deep"});
    PropertyBag back;
    back.parse(xmlOf(bag));
    EXPECT_EQ(back.getArray(L"deep"), deep);
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

}  // namespace
}  // namespace zustd
