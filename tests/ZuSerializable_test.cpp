#include "ZuSerializable.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <functional>
#include <sstream>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using test::Lines;
using test::Random;
using test::readFromRange;
using test::readFromStream;
using test::Reading;
using test::thrownText;
using test::TraceCapture;
using test::xmlOf;

class Shared : public SharedObject {};

// An object with a text form of its own, written by the stream writer alone.
class Speaking : public SharedObject, public ISerializable {
public:
    void writeXml(std::wostream& stream) const override { stream << L"<o>said</o>"; }
};

SerializableUnion made(const std::function<void(SerializableUnion&)>& fill) {
    SerializableUnion value;
    fill(value);
    return value;
}

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

// --- Kinds, getters and setters -----------------------------------------------------

TEST(Union, getters_onEveryKind_neverConvert) {
    const std::vector<SerializableUnion> values = oneOfEachKind();
    for (std::size_t kind = 0; kind < values.size(); ++kind) {
        SCOPED_TRACE(kind);
        const SerializableUnion& value = values[kind];
        EXPECT_EQ(static_cast<std::size_t>(value.kind()), kind);
        EXPECT_EQ(value.isNull(), kind == 0);
        EXPECT_EQ(value.isString(), kind == 1);
        EXPECT_EQ(value.isLong(), kind == 2);
        EXPECT_EQ(value.isDouble(), kind == 3);
        EXPECT_EQ(value.isBool(), kind == 4);
        EXPECT_EQ(value.isDateTime(), kind == 5);
        EXPECT_EQ(value.isSizet(), kind == 6);
        EXPECT_EQ(value.isObject(), kind == 7);
        EXPECT_EQ(value.isArray(), kind == 8);
        EXPECT_EQ(value.getString(), kind == 1 ? L"5" : L"");
        EXPECT_EQ(value.getLong(), kind == 2 ? 5 : 0);
        EXPECT_EQ(value.getDouble(), kind == 3 ? 5.0 : 0.0);
        EXPECT_EQ(value.getBool(), kind == 4);
        EXPECT_EQ(value.getDateTime(), kind == 5 ? kDate : DateTime());
        EXPECT_EQ(value.getSizet(), kind == 6 ? 5U : 0U);
        EXPECT_EQ(value.getObject() != nullptr, kind == 7);
        EXPECT_EQ(value.getArray().size(), kind == 8 ? 2U : 0U);
        std::wstring out = L"old";
        EXPECT_EQ(value.tryGetString(out), kind == 1);
        EXPECT_EQ(out, kind == 1 ? L"5" : L"");
    }
}

TEST(Union, references_toAnotherKind_failWithTheirReportLine) {
    for (SerializableUnion& value : oneOfEachKind()) {
        const TraceCapture trace;
        const Lines stringLines = {
            "throwing: 'cannot get reference for null string', in src/lib/ZuSerializable, line "
            "321"};
        const Lines arrayLines = {
            "throwing: 'cannot get reference of null array', in src/lib/ZuSerializable, line 405"};
        if (!value.isString()) {
            EXPECT_EQ(thrownText([&] { value.stringRef(); }),
                      L"cannot get reference for null string");
            EXPECT_EQ(trace.messages(), stringLines);
        } else {
            value.stringRef() += L"0";
            EXPECT_EQ(value.getString(), L"50");
            EXPECT_EQ(thrownText([&] { value.arrayRef(); }), L"cannot get reference of null array");
            EXPECT_EQ(trace.messages(), arrayLines);
        }
        if (!value.isArray()) {
            EXPECT_EQ(thrownText([&] { value.elementAt(0); }),
                      L"cannot get reference of null array");
        } else {
            value.elementAt(1).setLong(1);
            EXPECT_EQ(value.getArray()[1].getLong(), 1);
        }
    }
}

TEST(Union, setters_ontoEveryKind_keepTheirOwnHolderAndReplaceOthers) {
    const std::vector<SerializableUnion> values = oneOfEachKind();
    for (const SerializableUnion& before : values) {
        for (const SerializableUnion& after : values) {
            SerializableUnion value = before;
            value.assign(after);
            ASSERT_TRUE(value.equals(after));
            ASSERT_FALSE(value.notEquals(after));
        }
    }
    SerializableUnion text = values[1];
    const std::wstring* holder = &text.stringRef();
    text.setString(L"another");
    EXPECT_EQ(&text.stringRef(), holder);
    SerializableUnion array = values[8];
    const auto* elements = &array.arrayRef();
    array.setArray({});
    array.setArraySize(3);
    EXPECT_EQ(&array.arrayRef(), elements);
}

TEST(Union, setArraySize_anyCount_leavesThatManyNullElements) {
    for (const std::int64_t count : {-3, 0, 1, 70}) {
        for (SerializableUnion value : oneOfEachKind()) {
            value.setArraySize(count);
            EXPECT_EQ(value.kind(), ValueKind::kArray);
            EXPECT_EQ(value.getArray(), std::vector<SerializableUnion>(
                                            static_cast<std::size_t>(count < 0 ? 0 : count)));
        }
    }
}

TEST(Union, assignment_fromAPartOfItself_copiesBeforeItDestroys) {
    SerializableUnion inner = made([](auto& value) { value.setArray(oneOfEachKind()); });
    SerializableUnion value = made([&](auto& outer) { outer.setArray({inner, inner}); });
    value = value.elementAt(1);
    EXPECT_EQ(value, inner);
    value.setArray(value.elementAt(8).arrayRef());
    EXPECT_EQ(value.getArray().size(), 2U);
    value = std::move(value.elementAt(0));
    EXPECT_EQ(value.getString(), L"5");
    value.setString(value.stringRef());
    value.assign(value);
    EXPECT_EQ(value.getString(), L"5");
    const SerializableUnion moved = std::move(value);
    EXPECT_TRUE(value.isNull());
    EXPECT_EQ(moved.getString(), L"5");
}

TEST(Union, setter_withoutMemory_leavesNullUnlessTheKindIsItsOwn) {
    SerializableUnion kept = made([](auto& value) { value.setLong(7); });
    SerializableUnion lost = kept;
    {
        const test::AllocationLimit limit(0);
        kept.setLong(8);
        EXPECT_THROW(lost.setDouble(1.0), std::bad_alloc);
    }
    EXPECT_EQ(kept.getLong(), 8);
    EXPECT_TRUE(lost.isNull());
}

TEST(Union, equals_valuesThatLookAlike_areToldApart) {
    const std::vector<SerializableUnion> values = oneOfEachKind();
    for (std::size_t i = 0; i < values.size(); ++i) {
        for (std::size_t j = 0; j < values.size(); ++j) {
            EXPECT_EQ(values[i].equals(values[j]), i == j) << i << " " << j;
        }
    }
    const auto object = std::make_shared<Shared>();
    const auto holding = [](const auto& held) {
        return made([&](auto& value) { value.setObject(held); });
    };
    EXPECT_EQ(holding(object), holding(object));
    EXPECT_FALSE(holding(object) == holding(std::make_shared<Shared>()));
    EXPECT_EQ(object.use_count(), 1);
    const auto nan = made([](auto& value) { value.setDouble(std::nan("")); });
    EXPECT_TRUE(nan.notEquals(nan));
    EXPECT_TRUE(made([&](auto& value) { value.setArray({nan}); }).notEquals(values[8]));
    EXPECT_TRUE(values[1].notEquals(made([](auto& value) { value.setString({L'5', L'\0'}); })));
}

// --- Written form -------------------------------------------------------------------

TEST(UnionXml, appendXml_everyKind_isTheExactText) {
    const wchar_t* kExpected[] = {
        L"<t>null</t>",
        L"<t>string</t><v>5</v>",
        L"<t>long</t><v>5</v>",
        L"<t>double</t><v>5.000000</v>",
        L"<t>bool</t><v>y</v>",
        L"<t>datetime</t><v>2016-11-04 06:39:59</v>",
        L"<t>sizet</t><v>5</v>",
        L"<t>object</t><o>said</o>",
        L"<t>array</t><c>2</c><t>string</t><v>5</v><t>null</t>",
    };
    const std::vector<SerializableUnion> values = oneOfEachKind();
    for (std::size_t kind = 0; kind < values.size(); ++kind) {
        EXPECT_EQ(xmlOf(values[kind]), kExpected[kind]);
        std::wostringstream stream;
        values[kind].writeXml(stream);
        EXPECT_EQ(stream.str(), kExpected[kind]);
        EXPECT_EQ(kindFromName(kindName(values[kind].kind())), values[kind].kind());
    }
    EXPECT_EQ(kindName(static_cast<ValueKind>(9)), L"null");
    EXPECT_EQ(kindName(static_cast<ValueKind>(~0U)), L"null");
    EXPECT_EQ(xmlOf(made([](auto& value) { value.setBool(false); })), L"<t>bool</t><v>n</v>");
    EXPECT_EQ(xmlOf(made([](auto& value) { value.setObject({}); })), L"<t>object</t>");
}

TEST(UnionXml, textWithControls_writtenAndRead_doesNotComeBack) {
    const auto value = made([](auto& text) { text.setString(L"a\tb\nc<\\d>"); });
    const std::wstring written = L"<t>string</t><v>a\\09b\\nc&lt;\\d&gt;</v>";
    EXPECT_EQ(xmlOf(value), written);
    SerializableUnion read;
    EXPECT_EQ(readFromRange(read, written), (Reading{"", written.size()}));
    EXPECT_EQ(read.getString(), L"a\\09b\\nc<\\d>");
}

TEST(UnionXml, objectWithoutTextForm_writtenOrRead_isNotImplemented) {
    const auto mute = made([](auto& value) { value.setObject(std::make_shared<Shared>()); });
    EXPECT_EQ(thrownText([&] { xmlOf(mute); }), L"not implemented");
    Speaking speaking;
    EXPECT_EQ(readFromStream(speaking, L"<o>").failure, "failed: not implemented");
    EXPECT_EQ(readFromRange(speaking, L"<o>").failure, "failed: not implemented");
    EXPECT_EQ(xmlOf(speaking), L"<o>said</o>");
}

// --- Reading ------------------------------------------------------------------------

// Each document is read by both readers over an old value; what it gives is
// compared by its own written form.
TEST(UnionXml, readers_overTheSameDocument_agreeOnValueAndPlace) {
    const struct {
        const wchar_t* document;
        std::size_t taken;
        const wchar_t* expected;
    } kCases[] = {
        {L"", 0, L"<t>null</t>"},
        {L"text only", 0, L"<t>null</t>"},
        {L"<w>x</w>", 0, L"<t>null</t>"},
        {L"<v>5</v>", 0, L"<t>null</t>"},
        {L"<t>null</t><v>5</v>", 11, L"<t>null</t>"},
        {L"<t>Long</t><v>5</v>", 11, L"<t>null</t>"},
        {L"<t>integer</t><v>5</v>", 14, L"<t>null</t>"},
        {L"<t> long</t><v>5</v>", 12, L"<t>null</t>"},
        {L"<t>long</t><v>5</v>", 19, L"<t>long</t><v>5</v>"},
        {L"<?xml version=\"1.0\" ?>\n<t>long</t>\r\n<v>5</v>", 44, L"<t>long</t><v>5</v>"},
        {L"<t>long</t>", 11, L"<t>long</t><v>0</v>"},
        {L"<t>long</t>7<w>5</w>", 11, L"<t>long</t><v>0</v>"},
        {L"<t>long</t><v>abc</v>", 21, L"<t>long</t><v>0</v>"},
        {L"<t>long</t><v a='>5</v>", 18, L"failed: attributesOK"},
        {L"<t>bool</t><v>Yes</v>", 21, L"<t>bool</t><v>y</v>"},
        {L"<t>bool</t><v>1</v>", 19, L"<t>bool</t><v>n</v>"},
        {L"<t>string</t><v/>", 13, L"<t>string</t><v></v>"},
        {L"<t>string</t><v>a > b</v>", 25, L"<t>string</t><v>a </v>"},
        {L"<t>string</t><v>12</w>", 0, L"invalid: </v> expected, but found </w>"},
        {L"<t>string</t><v>12", 0, L"invalid: </v> expected, but found <>"},
        {L"<t>string<v>", 0, L"invalid: </t> expected, but found <v>"},
        {L"<t>string</t", 0, L"failed: sourcePos <= sourceEnd"},
        {L"<t>object</t><o>said</o>", 13, L"<t>object</t>"},
        {L"<t>datetime</t><v>2016-11-04 06:39:59</v>", 41,
         L"<t>datetime</t><v>2016-11-04 06:39:59</v>"},
        {L"<t>datetime</t><v>1-2-3</v>", 27, L"<t>datetime</t><v>0001-02-03 00:00:00</v>"},
        {L"<t>datetime</t><v>2016-11x</v>", 30, L"<t>datetime</t><v>2016-11-00 00:00:00</v>"},
        {L"<t>datetime</t><v>2016-011-04</v>", 33, L"<t>datetime</t><v>2016-01-00 00:00:00</v>"},
        {L"<t>datetime</t><v>20161104</v>", 30, L"<t>datetime</t><v>2016-00-00 00:00:00</v>"},
        {L"<t>datetime</t><v>never</v>", 27, L"<t>datetime</t><v>0000-00-00 00:00:00</v>"},
        {L"<t>array</t>", 12, L"<t>array</t><c>0</c>"},
        {L"<t>array</t><c>1</c><t>long</t><v>5</v>", 39,
         L"<t>array</t><c>1</c><t>long</t><v>5</v>"},
        {L"<t>array</t><c>2</c><t>bool</t></p>", 31,
         L"<t>array</t><c>2</c><t>bool</t><v>n</v><t>null</t>"},
        {L"<t>array</t><c>-1</c>", 0, L"failed: implied <= kMaxImpliedElements"},
    };
    for (const auto& [document, taken, expected] : kCases) {
        SCOPED_TRACE(testing::PrintToString(document));
        for (const auto& read : {readFromRange, readFromStream}) {
            SerializableUnion value = oneOfEachKind()[8];
            const Reading reading = read(value, document);
            if (reading.failure.empty()) {
                EXPECT_EQ(xmlOf(value), expected);
                EXPECT_EQ(reading.taken, taken);
            } else {
                EXPECT_EQ(std::wstring(reading.failure.begin(), reading.failure.end()), expected);
            }
        }
    }
}

TEST(UnionXml, arrayCount_beyondWhatIsThere_isLimited) {
    for (const auto& read : {readFromRange, readFromStream}) {
        SerializableUnion value;
        EXPECT_EQ(read(value, L"<t>array</t><c>65</c><t>null</t>"), (Reading{"", 32}));
        EXPECT_EQ(value.getArray().size(), 65U);
        EXPECT_EQ(read(value, L"<t>array</t><c>66</c><t>null</t>").failure,
                  "failed: implied <= kMaxImpliedElements");
        const test::MemoryWatch memory;
        EXPECT_EQ(read(value, L"<t>array</t><c>18446744073709551615</c>").failure,
                  "failed: implied <= kMaxImpliedElements");
        EXPECT_LT(memory.peak(), 4096U);
    }
}

TEST(UnionXml, nestedArrays_upToTheLimit_areReadAndRefusedBeyond) {
    const auto nested = [](std::size_t depth) {
        std::wstring document;
        while (depth-- > 0) {
            document += L"<t>array</t><c>1</c>";
        }
        return document;
    };
    for (const auto& read : {readFromRange, readFromStream}) {
        SerializableUnion value;
        // Twice: a refusal must not leave its depth behind.
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(read(value, nested(128)).failure, "");
            EXPECT_EQ(read(value, nested(129)).failure, "failed: depth <= kMaxDepth");
            EXPECT_EQ(read(value, nested(100000)).failure, "failed: depth <= kMaxDepth");
        }
    }
}

TEST(UnionXml, missingElementsBeforeLongText_areLookedForOnceALevel) {
    // 128 levels with 64 missing elements each, all before one far tag: the
    // readers would pass the text 8,192 times if each element looked for it.
    std::wstring document;
    for (int level = 0; level < 128; ++level) {
        document += level < 127 ? L"<t>array</t><c>65</c>" : L"<t>array</t><c>64</c>";
    }
    document += std::wstring(200000, L'x') + L"<end>";
    SerializableUnion value;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(readFromStream(value, document), (Reading{"", 128 * 21}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(UnionXml, randomValues_throughBothReaders_comeBack) {
    Random random(44);
    SCOPED_TRACE(random.label());
    for (int round = 0; round < 5000; ++round) {
        const SerializableUnion value = random.value(4);
        const std::wstring document = xmlOf(value);
        SerializableUnion fromRange = random.value(1);
        SerializableUnion fromStream = random.value(1);
        ASSERT_EQ(readFromRange(fromRange, document), (Reading{"", document.size()})) << round;
        ASSERT_EQ(readFromStream(fromStream, document), (Reading{"", document.size()})) << round;
        ASSERT_EQ(fromRange, value) << testing::PrintToString(document);
        ASSERT_EQ(fromStream, value) << testing::PrintToString(document);
    }
}

}  // namespace
}  // namespace zustd
