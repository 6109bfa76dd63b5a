#include "ZuPropertyBag.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <sstream>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

using Values = std::vector<SerializableUnion>;

// Writes down what the hook ran for, with the value that it found.
class HookedBag : public PropertyBag {
public:
    Texts changed;
    std::function<void()> next = [] {};  // runs once

    void onChanged(std::wstring_view key) override {
        changed.push_back(std::wstring(key) + xmlOf(getUnion(key)));
        std::exchange(next, [] {})();
    }
    Texts takeChanged() { return std::exchange(changed, {}); }
};

SerializableUnion valueOf(const std::wstring& kind, const std::wstring& text) {
    SerializableUnion value;
    readFromRange(value, L"<t>" + kind + L"</t>" + text);
    return value;
}

void setByKind(PropertyBag& bag, const std::wstring& key, const SerializableUnion& value) {
    switch (value.kind()) {
        // clang-format off
        case ValueKind::kNull: return bag.clear(key);
        case ValueKind::kString: return bag.setString(key, value.getString());
        case ValueKind::kLong: return bag.setLong(key, value.getLong());
        case ValueKind::kDouble: return bag.setDouble(key, value.getDouble());
        case ValueKind::kBool: return bag.setBool(key, value.getBool());
        case ValueKind::kDateTime: return bag.setDateTime(key, value.getDateTime());
        case ValueKind::kSizet: return bag.setSize(key, value.getSizet());
        // clang-format on
        default:
            bag.setArray(key, value.getArray());
    }
}

// Every getter, with a default that no value is.
void expectGetters(const PropertyBag& bag, const std::wstring& key, const SerializableUnion& v) {
    const DateTime day(2016, 1, 1);
    std::wstring out = L"d";
    EXPECT_EQ(bag.getString(key, L"d"), v.isString() ? v.getString() : L"d");
    EXPECT_EQ(bag.getString(key, out, out), v.isString()) << "the default may be the result";
    EXPECT_EQ(out, v.isString() ? v.getString() : L"d");
    EXPECT_EQ(bag.getLong(key, 9), v.isLong() ? v.getLong() : 9);
    EXPECT_TRUE(std::isnan(v.getDouble()) ||
                bag.getDouble(key, 9) == (v.isDouble() ? v.getDouble() : 9));
    for (const bool any : {true, false}) {
        EXPECT_EQ(bag.getBool(key, any), v.isBool() ? v.getBool() : any);
        EXPECT_EQ(bag.getSize(key, 9, any), v.isSizet() ? v.getSizet()
                                            : any && v.isLong() && v.getLong() >= 0
                                                ? static_cast<std::uint64_t>(v.getLong())
                                                : 9);
    }
    EXPECT_EQ(bag.getDateTime(key, day), v.isDateTime() ? v.getDateTime() : day);
    EXPECT_EQ(bag.getArray(key), v.getArray());
    EXPECT_EQ(xmlOf(bag.getUnion(key)), xmlOf(v));
    EXPECT_EQ(bag.isNull(key), v.isNull());
}

TEST(PropertyBag, randomChanges_besideAListOfValues_areHeldAndAnnouncedAlike) {
    Values values;
    for (std::uint32_t kind = 0; kind <= 8; ++kind) {
        for (const wchar_t* text : {L"", L"<v>5-1</v>", L"<v>5-2</v>", L"<v>-1</v>", L"<v>y</v>",
                                    L"<v>nan</v>", L"<c>2</c>", L"<c>2</c><t>bool</t>"}) {
            values.push_back(valueOf(std::wstring(kindName(static_cast<ValueKind>(kind))), text));
        }
    }
    static const std::wstring kKeys[] = {L"", L"a", L"A", std::wstring(32, L'k'),
                                         std::wstring(33, L'k')};
    Random random(7);
    std::vector<std::pair<std::wstring, SerializableUnion>> model;
    HookedBag bag;
    for (int step = 0; step < 20'000 && !HasFailure(); ++step) {
        SCOPED_TRACE(random.label() + " step " + std::to_string(step));
        const std::wstring& key = random.pick(kKeys);
        const SerializableUnion& value = random.pick(values);
        const bool byKind = random.below(2) == 0 && !value.isObject();
        Texts announced;
        if (random.below(9) == 0) {
            if (random.below(20) == 0) {
                model.clear();
                bag.parse(L"");
            }
            bag.announceAll();
            for (const auto& [each, held] : model) {
                announced.push_back(each + xmlOf(held));
            }
        } else {
            byKind ? setByKind(bag, key, value) : bag.setUnion(key, value);
            auto held = std::find_if(model.begin(), model.end(),
                                     [&](const auto& entry) { return entry.first == key; });
            const bool isNew = held == model.end();
            // Set by its kind, a value of another one is compared as the neutral one.
            const bool isSame = !isNew && !value.isNull() &&
                                (byKind && held->second.kind() != value.kind()
                                     ? valueOf(std::wstring(kindName(value.kind())), L"") == value
                                     : held->second == value);
            if (!value.isObject() && !isSame && !(isNew && value.isNull())) {
                held = isNew ? model.insert(held, {key, {}}) : held;
                held->second = value;
                announced.push_back(key + xmlOf(value));
            }
        }
        ASSERT_EQ(bag.takeChanged(), announced);
        Texts keys = {L"old"};
        bag.keys(keys);
        ASSERT_EQ(keys.size(), model.size());
        ASSERT_EQ(bag.size(), model.size());
        const SerializableUnion* now = nullptr;
        for (std::size_t i = 0; i < keys.size(); ++i) {
            ASSERT_EQ(keys[i], model[i].first);
            now = keys[i] == key ? &model[i].second : now;
        }
        EXPECT_EQ(bag.has(key), now != nullptr);
        expectGetters(bag, key, now != nullptr ? *now : SerializableUnion());
    }
}

TEST(PropertyBag, announceAll_hookThatReadsTheBagAnew_endsTheRound) {
    const std::wstring document = L"<bag><hmap><p><k>z</k></p><p><k>a</k></p></hmap></bag>";
    const std::wstring null = L"<t>null</t>";
    HookedBag bag;
    readFromStream(bag, document);
    EXPECT_EQ(bag.takeChanged(), Texts()) << "only reading from a range announces";
    bag.next = [&] { bag.parse(L"<hmap><p><k>n1</k></p><p><k>n2</k></p></hmap>"); };
    bag.announceAll();
    EXPECT_EQ(bag.takeChanged(), (Texts{L"z" + null, L"n1" + null, L"n2" + null}));
    // Keys that a hook adds are announced by their setters alone.
    bag.next = [&] { bag.setBool(L"n3", true); };
    bag.announceAll();
    EXPECT_EQ(bag.takeChanged(), (Texts{L"n1" + null, L"n3<t>bool</t><v>y</v>", L"n2" + null}));
    auto gone = std::make_unique<HookedBag>();
    readFromStream(*gone, document);
    Texts changed;
    gone->next = [&] {
        changed = gone->changed;
        gone.reset();
    };
    gone->announceAll();
    EXPECT_EQ(changed, Texts{L"z" + null});
}

TEST(PropertyBag, whatCouldNotBeReadBackOrKept_isRefused) {
    const auto arrayOf = [](const Values& elements) {
        SerializableUnion array;
        array.setArray(elements);
        return array;
    };
    SerializableUnion deep;
    for (int depth = 0; depth < 128; ++depth) {
        deep = arrayOf({deep});
    }
    PropertyBag bag;
    bag.setUnion(L"deep", deep);
    EXPECT_EQ(bag.getUnion(L"deep"), deep);
    const SerializableUnion deeper = arrayOf({deep});
    EXPECT_EQ(thrownText([&] { xmlOf(deeper); }), L"depth <= kMaxDepth");
    const SerializableUnion object = valueOf(L"object", L"");
    const std::pair<SerializableUnion, const wchar_t*> kRefused[] = {
        {deeper, L"depth <= kMaxDepth"},
        {arrayOf({SerializableUnion(), object}), L"!isObject()"},
        {arrayOf({arrayOf({object})}), L"!isObject()"}};
    for (const auto& [value, failure] : kRefused) {
        EXPECT_EQ(thrownText([&] { bag.setUnion(L"k", value); }), failure);
        EXPECT_EQ(thrownText([&] { bag.setArray(L"k", value.getArray()); }), failure);
    }
    EXPECT_EQ(bag.size(), 1U);
    PropertyBag unfilled(nullptr);
    EXPECT_EQ(thrownText([&] { unfilled.setLong(L"a", 1); }), L"valueAllocator_");
    std::wostringstream stream;
    unfilled.writeXml(stream);
    EXPECT_EQ(stream.str(), L"<bag>\n<hmap>\n</hmap>\n</bag>\n");
}

}  // namespace
}  // namespace zustd
