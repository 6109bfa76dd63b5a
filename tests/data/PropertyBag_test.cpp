#include "ZuTrackingPropertyBag.h"

#include <gtest/gtest.h>

#include <algorithm>
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

SerializableUnion valueOf(const std::wstring& document) {
    SerializableUnion value;
    readFromRange(value, document);
    return value;
}

// Of each kind the neutral value and others.
Values someValues() {
    Values values(1);
    for (std::uint32_t kind = 0; kind <= 8; ++kind) {
        const std::wstring name(kindName(static_cast<ValueKind>(kind)));
        for (const wchar_t* text : {L"", L"<v>5-1</v>", L"<v>5-2</v>", L"<v>-1</v>", L"<v>y</v>",
                                    L"<c>2</c>", L"<c>2</c><t>bool</t>"}) {
            values.push_back(valueOf(L"<t>" + name + L"</t>" + text));
        }
    }
    values.emplace_back().setDouble(std::nan(""));
    return values;
}

// What a bag holds and announces, as a list of values.
struct NaiveBag {
    std::vector<std::pair<std::wstring, SerializableUnion>> entries;
    Texts announced;

    SerializableUnion* find(const std::wstring& key) {
        const auto place = std::find_if(entries.begin(), entries.end(),
                                        [&](const auto& entry) { return entry.first == key; });
        return place != entries.end() ? &place->second : nullptr;
    }
    void set(const std::wstring& key, const SerializableUnion& value, bool byKind) {
        SerializableUnion* held = find(key);
        if (held == nullptr) {
            held = &entries.emplace_back(key, SerializableUnion()).second;
        } else {
            // Of another kind, a value is compared as the neutral one.
            const std::wstring neutral = L"<t>" + std::wstring(kindName(value.kind())) + L"</t>";
            if ((byKind && held->kind() != value.kind() ? valueOf(neutral) : *held) == value) {
                return;
            }
        }
        *held = value;
        announced.push_back(key);
    }
};

void setByKind(PropertyBag& bag, const std::wstring& key, const SerializableUnion& value) {
    switch (value.kind()) {
        // clang-format off
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
    static const std::wstring kKeys[] = {L"", L"a", L"A", std::wstring(32, L'k'),
                                         std::wstring(33, L'k')};
    const Values values = someValues();
    Random random(7);
    NaiveBag naive;
    const auto listener = std::make_shared<Listener>();
    TrackingPropertyBag bag;
    bag.connect(listener, false);
    for (int step = 0; step < 20'000 && !testing::Test::HasFailure(); ++step) {
        const std::wstring& key = random.pick(kKeys);
        const SerializableUnion& value = random.pick(values);
        const std::size_t dice = random.below(9);
        std::wstring seen;  // by whoever hears of a change
        listener->next = [&] { seen = xmlOf(bag.getUnion(key)); };
        SCOPED_TRACE(random.label() + " step " + std::to_string(step));
        if (dice < 8 && (value.isNull() || value.isObject())) {
            bag.setUnion(key, value);
            if (SerializableUnion* held = naive.find(key); held != nullptr && value.isNull()) {
                *held = value;
                naive.announced.push_back(key);
            }
        } else if (dice < 8) {
            dice < 4 ? bag.setUnion(key, value) : setByKind(bag, key, value);
            naive.set(key, value, dice >= 4);
        } else if (random.below(20) == 0) {
            naive.entries.clear();
            bag.parse(L"");
        } else {
            bag.announceAll();
            for (const auto& entry : naive.entries) {
                naive.announced.push_back(entry.first);
            }
        }
        Texts keys;
        for (const auto& entry : naive.entries) {
            keys.push_back(entry.first);
        }
        ASSERT_EQ(keysOf(bag), keys);
        ASSERT_EQ(bag.size(), keys.size());
        Texts announced;
        for (const std::wstring& each : std::exchange(naive.announced, {})) {
            announced.push_back(L"propertyChanged.ChangeTracker " + each);
        }
        ASSERT_EQ(std::exchange(listener->log, {}), announced);
        ASSERT_EQ(bag.isChanged(), !announced.empty());
        bag.markSaved();
        const SerializableUnion* held = naive.find(key);
        EXPECT_EQ(bag.has(key), held != nullptr);
        const SerializableUnion now = held != nullptr ? *held : SerializableUnion();
        EXPECT_EQ(seen, announced.empty() ? L"" : xmlOf(now));
        expectGetters(bag, key, now);
    }
}

TEST(PropertyBag, announceAll_hookThatReadsTheBagAnew_endsTheRound) {
    const std::wstring document = L"<bag><hmap><p><k>z</k></p><p><k>a</k></p></hmap></bag>";
    HookedBag bag;
    readFromStream(bag, document);
    EXPECT_EQ(bag.takeChanged(), Texts()) << "only reading from a range announces";
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
    object.setObject(nullptr);
    const auto arrayOf = [](const Values& elements) {
        SerializableUnion array;
        array.setArray(elements);
        return array;
    };
    SerializableUnion deep;
    for (int depth = 0; depth < 128; ++depth) {
        deep = arrayOf({deep});
    }
    HookedBag bag;
    bag.setUnion(L"deep", deep);
    PropertyBag back;
    back.parse(xmlOf(bag));
    EXPECT_EQ(back.getUnion(L"deep"), deep);
    const SerializableUnion deeper = arrayOf({deep});
    EXPECT_EQ(thrownText([&] { xmlOf(deeper); }), L"depth <= kMaxDepth");
    const std::tuple<SerializableUnion, const wchar_t*> kRefused[] = {
        {deeper, L"depth <= kMaxDepth"},
        {arrayOf({SerializableUnion(), object}), L"!isObject()"},
        {arrayOf({arrayOf({object})}), L"!isObject()"}};
    for (const auto& [value, failure] : kRefused) {
        EXPECT_EQ(thrownText([&] { bag.setUnion(L"k", value); }), failure);
        EXPECT_EQ(thrownText([&] { bag.setArray(L"k", value.getArray()); }), failure);
    }
    EXPECT_EQ(keysOf(bag), Texts{L"deep"});
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
