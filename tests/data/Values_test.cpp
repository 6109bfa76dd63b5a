#include <cmath>
#include <iomanip>
#include <sstream>

#include "ZuPropertyBag.h"
#include "ZuSerializable.h"
#include "support/FrameworkTest.h"

namespace zustd::test {
namespace {

using Values = std::vector<SerializableUnion>;

const DateTime kDate(2016, 11, 4, 6, 39, 59, 123);

Values oneOfEachKind() {
    Values values(9);
    values[1].setString(L"5");
    values[2].setLong(5);
    values[3].setDouble(5.0);
    values[4].setBool(true);
    values[5].setDateTime(kDate);
    values[6].setSizet(5);
    values[7].setObject(std::make_shared<SharedObject>());
    values[8].setArray({values[1], SerializableUnion()});
    return values;
}

SerializableUnion arrayOf(const Values& elements) {
    SerializableUnion value;
    value.setArray(elements);
    return value;
}

SerializableUnion valueOf(ValueKind kind, const wchar_t* text = L"") {
    SerializableUnion value;
    readDocument(value, L"<?x?><t>" + std::wstring(kindName(kind)) + L"</t>" + text, true);
    return value;
}

struct Written : SharedObject, ISerializable {
    void writeXml(std::wostream& stream) const override { stream << 1234; }
};

TEST(Union, everyKind_isOnlyWhatItIs_andEqualOnlyToItsCopies) {
    const Values values = oneOfEachKind();
    std::wstring all;
    const TraceCapture trace;
    for (SerializableUnion value : values) {
        EXPECT_EQ(std::ranges::count(oneOfEachKind(), value), value.isObject() ? 0 : 1);
        all += value.isObject() ? L"" : xmlOf(value);
        std::wstring text = L"old";
        EXPECT_EQ(value.tryGetString(text), value.isString());
        EXPECT_EQ(text, value.getString());
        EXPECT_EQ(thrownText([&] { value.stringRef() += L"0"; }),
                  value.isString() ? L"nothing" : L"cannot get reference for null string");
        EXPECT_EQ(thrownText([&] { value.elementAt(0); }),
                  value.isArray() ? L"nothing" : L"cannot get reference of null array");
        EXPECT_EQ(value.getString(), value.isString() ? L"50" : L"");
    }
    EXPECT_EQ(all,
              L"<t>null</t><t>string</t><v>5</v><t>long</t><v>5</v><t>double</t><v>5.000000"
              L"</v><t>bool</t><v>y</v><t>datetime</t><v>2016-11-04 06:39:59</v><t>sizet</t>"
              L"<v>5</v><t>array</t><c>2</c><t>string</t><v>5</v><t>null</t>");
    EXPECT_TRUE(trace.messages()[0].ends_with("', in src/lib/ZuSerializable, line 321"));
    EXPECT_TRUE(trace.messages()[1].ends_with("', in src/lib/ZuSerializable, line 405"));
    SerializableUnion copy;
    copy.setArraySize(-3);
    EXPECT_EQ(copy, arrayOf({}));
    copy.setArraySize(70);
    EXPECT_EQ(copy, arrayOf(Values(70)));
    copy.setDouble(std::nan(""));
    EXPECT_TRUE(copy.notEquals(copy) && arrayOf({copy}).notEquals(arrayOf({copy})));
    EXPECT_EQ(kindName(static_cast<ValueKind>(9)), L"null");
    // What is assigned from a part of itself is copied before that goes.
    const SerializableUnion inner = arrayOf({values[1], values[5]});
    copy = arrayOf({inner, inner});
    copy = copy.elementAt(1);
    EXPECT_EQ(copy, inner);
    copy = std::move(copy.elementAt(0));
    copy.setString(copy.stringRef());
    EXPECT_EQ(copy.getString(), L"5");
    EXPECT_EQ(thrownText([&] { xmlOf(values[7]); }), L"not implemented");
    copy.setObject(std::make_shared<Written>());
    EXPECT_EQ(xmlOf(copy), L"<t>object</t>1234");
    for (const bool isStream : {true, false}) {
        SerializableT<std::shared_ptr<SharedObject>> object(copy.getObject());
        EXPECT_EQ(readDocument(object, L"", isStream).first, L"not implemented");
    }
}

TEST(Union, change_destructorThatUsesOrDestroysTheUnion_findsItWhole) {
    using Change = void (*)(SerializableUnion&);
    const Change kChanges[] = {
        [](SerializableUnion& value) { value.setLong(1); },
        [](SerializableUnion& value) { value.setObject(nullptr); },
        [](SerializableUnion& value) { value.setArraySize(3); },
        [](SerializableUnion& value) { value.assign({}); },
        [](SerializableUnion& value) { value = SerializableUnion(); },
        [](SerializableUnion& value) { readDocument(value, L"<t>long</t><v>1</v>", true); },
    };
    SharedObject object;
    for (std::size_t dice = 0; dice < 4 * std::size(kChanges); ++dice) {
        auto value = std::make_unique<SerializableUnion>();
        std::wstring seen;
        const auto last = [&](SharedObject*) {
            seen = xmlOf(SerializableUnion(*value));
            value = dice % 2 == 0 ? nullptr : std::move(value);
        };
        value->setObject(std::shared_ptr<SharedObject>(&object, last));
        if (dice % 4 < 2) {
            *value = arrayOf({SerializableUnion(std::move(*value))});
        }
        kChanges[dice / 4](*value);
        EXPECT_NE(seen, L"");
        EXPECT_TRUE(!value || xmlOf(*value) == seen);
    }
}

class HookedBag : public PropertyBag {
public:
    Texts changed;
    std::function<void()> next = [] {};  // runs once

    void onChanged(std::wstring_view key) override {
        changed.push_back(std::wstring(key) + xmlOf(getUnion(key)));
        std::exchange(next, [] {})();
    }
};

void setByKind(PropertyBag& bag, const std::wstring& key, const SerializableUnion& v) {
    v.isNull()       ? bag.clear(key)
    : v.isString()   ? bag.setString(key, v.getString())
    : v.isLong()     ? bag.setLong(key, v.getLong())
    : v.isDouble()   ? bag.setDouble(key, v.getDouble())
    : v.isBool()     ? bag.setBool(key, v.getBool())
    : v.isDateTime() ? bag.setDateTime(key, v.getDateTime())
    : v.isSizet()    ? bag.setSize(key, v.getSizet())
                     : bag.setArray(key, v.getArray());
}

void expectGetters(const PropertyBag& bag, const std::wstring& key, const SerializableUnion& v) {
    std::wstring out = L"d";
    EXPECT_EQ(bag.getString(key, L"d"), v.isString() ? v.getString() : L"d");
    EXPECT_EQ(bag.getString(key, out, out), v.isString()) << "the default may be the result";
    EXPECT_EQ(out, v.isString() ? v.getString() : L"d");
    EXPECT_EQ(bag.getLong(key, 9), v.isLong() ? v.getLong() : 9);
    EXPECT_TRUE(std::isnan(v.getDouble()) ||
                bag.getDouble(key, 9) == (v.isDouble() ? v.getDouble() : 9));
    for (const bool any : {true, false}) {
        const bool isSize = v.isSizet() || (any && v.isLong() && v.getLong() >= 0);
        const auto size = v.getSizet() + static_cast<std::uint64_t>(v.getLong());
        EXPECT_EQ(bag.getBool(key, any), v.isBool() ? v.getBool() : any);
        EXPECT_EQ(bag.getSize(key, 9, any), isSize ? size : 9);
    }
    EXPECT_EQ(bag.getDateTime(key, kDate), v.isDateTime() ? v.getDateTime() : kDate);
    EXPECT_EQ(bag.getArray(key), v.getArray());
    EXPECT_EQ(xmlOf(bag.getUnion(key)), xmlOf(v));
    EXPECT_EQ(bag.isNull(key), v.isNull());
}

TEST(PropertyBag, randomChanges_besideAListOfValues_areHeldAndAnnouncedAlike) {
    Values values;
    for (std::uint32_t kind = 0; kind <= 8; ++kind) {
        for (const wchar_t* text : {L"", L"<v>5-1</v>", L"<v>5-2</v>", L"<v>-1</v>", L"<v>y</v>",
                                    L"<v>nan</v>", L"<c>2</c>", L"<c>2</c><t>bool</t>"}) {
            values.push_back(valueOf(static_cast<ValueKind>(kind), text));
        }
    }
    const std::wstring kKeys[] = {L"", L"a", L"A", std::wstring(32, L'k'), std::wstring(33, L'k')};
    Random random(7);
    std::vector<std::pair<std::wstring, SerializableUnion>> model;
    const auto keyOf = [](const auto& entry) { return entry.first; };
    HookedBag bag;
    for (int step = 0; step < 20'000 && !HasFailure(); ++step) {
        SCOPED_TRACE(random.label() + " step " + std::to_string(step));
        const std::wstring& key = random.pick(kKeys);
        const SerializableUnion& value = random.pick(values);
        const bool byKind = random.below(2) == 0 && !value.isObject();
        auto held = std::ranges::find(model, key, keyOf);
        const bool isNew = held == model.end();
        Texts announced;
        if (random.below(9) > 0) {
            byKind ? setByKind(bag, key, value) : bag.setUnion(key, value);
            // Set by its kind, a value of another one is compared as the neutral one.
            const bool isSame = value.isNull() || isNew ? isNew && value.isNull()
                                : byKind && held->second.kind() != value.kind()
                                    ? valueOf(value.kind()) == value
                                    : held->second == value;
            if (!value.isObject() && !isSame) {
                held = isNew ? model.insert(held, {key, {}}) : held;
                held->second = value;
                announced.push_back(key + xmlOf(value));
            }
        } else {
            if (random.below(20) == 0) {
                model.clear();
                bag.parse(L"");
                held = model.end();
            }
            bag.announceAll();
            for (const auto& [each, present] : model) {
                announced.push_back(each + xmlOf(present));
            }
        }
        ASSERT_EQ(std::exchange(bag.changed, {}), announced);
        Texts keys = {L"old"};
        bag.keys(keys);
        ASSERT_TRUE(std::ranges::equal(keys, model, {}, {}, keyOf));
        ASSERT_TRUE(bag.size() == model.size() && bag.has(key) == (held != model.end()));
        expectGetters(bag, key, held != model.end() ? held->second : SerializableUnion());
    }
}

TEST(PropertyBag, announceAll_hookThatReadsTheBagAnew_endsTheRound) {
    const std::wstring null = L"<t>null</t>";
    auto bag = std::make_unique<HookedBag>();
    readDocument(*bag, L"<bag><hmap><p><k>z</k></p><p><k>a</k></p></hmap></bag>", true);
    EXPECT_EQ(bag->changed, Texts()) << "only reading from a range announces";
    bag->next = [&] { bag->parse(L"<hmap><p><k>n1</k></p><p><k>n2</k></p></hmap>"); };
    bag->announceAll();
    // Keys that a hook adds are announced by their setters alone.
    bag->next = [&] { bag->setBool(L"n3", true); };
    bag->announceAll();
    Texts changed;
    bag->next = [&] {
        changed = bag->changed;
        bag.reset();
    };
    bag->announceAll();
    EXPECT_EQ(changed, (Texts{L"z" + null, L"n1" + null, L"n2" + null, L"n1" + null,
                              L"n3<t>bool</t><v>y</v>", L"n2" + null, L"n1" + null}));
}

TEST(PropertyBag, whatCouldNotBeReadBackOrKept_isRefused) {
    SerializableUnion deep;
    for (int depth = 0; depth < 128; ++depth) {
        deep = arrayOf({deep});
    }
    PropertyBag bag;
    bag.setUnion(L"deep", deep);
    EXPECT_EQ(bag.getUnion(L"deep"), deep);
    const std::wstring tooDeep = L"depth <= kMaxDepth";
    EXPECT_EQ(thrownText([&] { xmlOf(arrayOf({deep})); }), tooDeep);
    const SerializableUnion object = arrayOf({SerializableUnion(), valueOf(ValueKind::kObject)});
    for (const SerializableUnion& value : {arrayOf({deep}), object, arrayOf({object})}) {
        const auto failure = thrownText([&] { bag.setUnion(L"k", value); });
        EXPECT_EQ(failure, value.getArray()[0] == deep ? tooDeep : L"!isObject()");
        EXPECT_EQ(thrownText([&] { bag.setArray(L"k", value.getArray()); }), failure);
    }
    EXPECT_EQ(bag.size(), 1U);
    PropertyBag unfilled(nullptr);
    EXPECT_EQ(thrownText([&] { unfilled.setLong(L"a", 1); }), L"valueAllocator_");
    std::wostringstream stream;
    stream << std::setw(200);
    unfilled.writeXml(stream);
    stream.setstate(std::ios_base::failbit);
    unfilled.writeXml(stream);
    EXPECT_TRUE(stream.bad() && stream.str() == xmlOf(unfilled));
}

}  // namespace
}  // namespace zustd::test
