#include "ZuSerializable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iomanip>
#include <sstream>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

// An object with a text form of its own, written by the stream writer alone.
class Speaking : public SharedObject, public ISerializable {
public:
    void writeXml(std::wostream& stream) const override { stream << L"<o>said</o>"; }
};

const DateTime kDate(2016, 11, 4, 6, 39, 59, 123);

// One value of each kind, by number.
std::vector<SerializableUnion> oneOfEachKind() {
    std::vector<SerializableUnion> values(9);
    values[1].setString(L"5");
    values[2].setLong(5);
    values[3].setDouble(5.0);
    values[4].setBool(true);
    values[5].setDateTime(kDate);
    values[6].setSizet(5);
    values[7].setObject(std::make_shared<Speaking>());
    values[8].setArray({values[1], SerializableUnion()});
    return values;
}

SerializableUnion arrayOf(const std::vector<SerializableUnion>& elements) {
    SerializableUnion value;
    value.setArray(elements);
    return value;
}

TEST(Union, getters_onEveryKind_neverConvert) {
    const std::string place = "', in src/lib/ZuSerializable, line ";
    const std::string noText = "throwing: 'cannot get reference for null string" + place + "321";
    const std::string noArray = "throwing: 'cannot get reference of null array" + place + "405";
    std::vector<SerializableUnion> values = oneOfEachKind();
    for (SerializableUnion& value : values) {
        const auto kind = static_cast<int>(value.kind());
        SCOPED_TRACE(kind);
        EXPECT_EQ(kind, &value - values.data());
        std::wstring text = L"old";
        EXPECT_EQ(value.tryGetString(text), kind == 1);
        EXPECT_EQ(text, kind == 1 ? L"5" : L"");
        EXPECT_EQ(value.getString(), text);
        EXPECT_EQ(value.getLong(), kind == 2 ? 5 : 0);
        EXPECT_EQ(value.getDouble(), kind == 3 ? 5.0 : 0.0);
        EXPECT_EQ(value.getBool(), kind == 4);
        EXPECT_EQ(value.getDateTime(), kind == 5 ? kDate : DateTime());
        EXPECT_EQ(value.getSizet(), kind == 6 ? 5U : 0U);
        EXPECT_EQ(value.getObject() != nullptr, kind == 7);
        EXPECT_EQ(value.getArray().size(), kind == 8 ? 2U : 0U);
        const TraceCapture trace;
        thrownText([&] { value.stringRef() += L"0"; });
        thrownText([&] { value.elementAt(0); });
        thrownText([&] { value.arrayRef().clear(); });
        Lines expected(kind == 1 ? 0 : 1, noText);
        expected.resize(expected.size() + (kind == 8 ? 0 : 2), noArray);
        EXPECT_EQ(trace.messages(), expected);
        EXPECT_EQ(value.getString(), kind == 1 ? L"50" : L"");
    }
}

TEST(Union, assignment_fromAPartOfItself_copiesBeforeItDestroys) {
    const SerializableUnion inner = arrayOf(oneOfEachKind());
    SerializableUnion value = arrayOf({inner, inner});
    value = value.elementAt(1);
    EXPECT_EQ(value, inner);
    value.setArray(value.elementAt(8).arrayRef());
    EXPECT_EQ(value.getArray().size(), 2U);
    value = std::move(value.elementAt(0));
    value.setString(value.stringRef());
    value.assign(value);
    EXPECT_EQ(value.getString(), L"5");
    const SerializableUnion moved = std::move(value);
    EXPECT_TRUE(value.isNull());
    EXPECT_EQ(moved.getString(), L"5");
}

TEST(Union, setter_withoutMemory_leavesNullUnlessTheKindIsItsOwn) {
    SerializableUnion kept;
    kept.setLong(7);
    // Enough of them to use up what freed values have left behind.
    std::vector<SerializableUnion> lost(100000);
    std::size_t set = 0;
    {
        const AllocationLimit limit(0);
        kept.setLong(8);
        EXPECT_THROW(
            for (; set < lost.size(); ++set) { lost[set].setDouble(1.0); }, std::bad_alloc);
    }
    EXPECT_EQ(kept.getLong(), 8);
    EXPECT_TRUE(lost.at(set).isNull());
}

TEST(Union, equals_valuesThatLookAlike_areToldApart) {
    std::vector<SerializableUnion> values = oneOfEachKind();
    for (const SerializableUnion& each : oneOfEachKind()) {
        // Objects are told apart by identity.
        EXPECT_EQ(std::count(values.begin(), values.end(), each), each.isObject() ? 0 : 1);
        SerializableUnion empty;
        readFromRange(empty, L"<t>" + std::wstring(kindName(each.kind())) + L"</t>");
        EXPECT_EQ(empty.kind(), each.kind());
        EXPECT_EQ(each == empty, each.isNull());
        values[0].assign(each);
        EXPECT_EQ(values[0], each);
    }
    SerializableUnion value;
    for (const auto& [count, size] : {std::pair{70, 70U}, {-3, 0U}, {1, 1U}}) {
        value.setArraySize(count);
        EXPECT_EQ(value, arrayOf(std::vector<SerializableUnion>(size)));
    }
    value.setDouble(std::nan(""));
    EXPECT_TRUE(value.notEquals(value));
    EXPECT_TRUE(arrayOf({value, value}).notEquals(arrayOf({value, value})));
    value.setString({L'5', L'\0'});
    EXPECT_TRUE(value.notEquals(values[1]));
    for (const std::uint32_t kind : {9U, ~0U}) {
        EXPECT_EQ(kindName(static_cast<ValueKind>(kind)), L"null");
    }
}

TEST(UnionXml, objectsAndStreams_areWrittenInTheirOwnWay) {
    std::wostringstream stream;
    stream << std::setw(200) << std::setfill(L'*') << std::hex << std::showbase;
    arrayOf(oneOfEachKind()).writeXml(stream);
    EXPECT_EQ(stream.str(), xmlOf(arrayOf(oneOfEachKind())));
    EXPECT_NE(stream.str().find(L"<t>object</t><o>said</o><t>array</t>"), std::wstring::npos);
    std::wostringstream refusing;
    refusing.setstate(std::ios_base::failbit);
    SerializableUnion().writeXml(refusing);
    EXPECT_TRUE(refusing.bad() && refusing.str().empty());
    SerializableUnion value;
    value.setObject({});
    EXPECT_EQ(xmlOf(value), L"<t>object</t>");
    value.setObject(std::make_shared<SharedObject>());
    EXPECT_EQ(thrownText([&] { xmlOf(value); }), L"not implemented");
    SerializableT<std::shared_ptr<SharedObject>> holder(std::make_shared<Speaking>());
    EXPECT_EQ(readFromStream(holder, L"<o>").first, "failed: not implemented");
    EXPECT_EQ(readFromRange(holder, L"<o>").first, "failed: not implemented");
}

// Does something when it goes.
class Leaving : public SharedObject {
public:
    explicit Leaving(std::function<void()> last) : last_(std::move(last)) {}
    ~Leaving() override { last_(); }

private:
    std::function<void()> last_;
};

TEST(Union, change_destructorThatUsesOrDestroysTheUnion_findsItWhole) {
    using Change = void (*)(SerializableUnion&);
    const Change kChanges[] = {
        [](SerializableUnion& value) { value.setLong(1); },
        [](SerializableUnion& value) { value.setObject(nullptr); },
        [](SerializableUnion& value) { value.setArraySize(3); },
        [](SerializableUnion& value) { value.assign({}); },
        [](SerializableUnion& value) { value = SerializableUnion(); },
        [](SerializableUnion& value) { readFromStream(value, L"<t>long</t><v>1</v>"); },
    };
    for (const Change change : kChanges) {
        for (const bool inArray : {false, true}) {
            for (const bool destroys : {false, true}) {
                auto value = std::make_unique<SerializableUnion>();
                std::wstring seen;
                auto last = std::make_shared<Leaving>([&] {
                    seen = xmlOf(*value);
                    EXPECT_TRUE(value->equals(SerializableUnion(*value)));
                    if (destroys) {
                        value.reset();
                    }
                });
                value->setObject(std::move(last));
                if (inArray) {
                    SerializableUnion array = arrayOf({*value});
                    *value = std::move(array);
                }
                change(*value);
                EXPECT_NE(seen, L"");
                EXPECT_TRUE(destroys || xmlOf(*value) == seen);
            }
        }
    }
}

}  // namespace
}  // namespace zustd
