#include "ZuLoader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>

#include "ZuPropertyBag.h"
#include "support/FrameworkTest.h"

extern "C" {
extern void* __imp_fclose;
extern void* __imp_fread;
extern void* __imp_fwrite;
}

namespace zustd {
namespace {

using test::AllocationLimit;
using test::Lines;
using test::readBytes;
using test::ReplacedImport;
using test::TempFolder;
using test::TraceCapture;
using test::writeBytes;

constexpr char kHeader[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n";

std::size_t transferNothing(const void*, std::size_t, std::size_t, std::FILE*) { return 0; }

// Closes as ever, but reports that the last bytes did not reach the disk.
decltype(&std::fclose) realClose = nullptr;
int closeAndFail(std::FILE* file) {
    realClose(file);
    return EOF;
}

class LoaderTest : public testing::Test {
protected:
    TempFolder folder_;
    std::wstring file_ = folder_.file(L"\u0416 settings.config");
    std::wstring text_ = L"old";
};

TEST_F(LoaderTest, save_anyText_writesExactBytesOverTheOldOnes) {
    writeBytes(file_, "something longer than what follows");
    EXPECT_TRUE(Loader::save(file_, L"a\r\n\u00E9\x1A"));
    EXPECT_EQ(readBytes(file_), "a\r\n\xC3\xA9\x1A");
    EXPECT_TRUE(Loader::save(file_, L""));
    EXPECT_EQ(readBytes(file_), "");
    EXPECT_TRUE(Loader::save(file_, L"\uF8FF"));
    EXPECT_EQ(readBytes(file_), "\xEF\xBB\xBF\xEF\xA3\xBF");
}

TEST_F(LoaderTest, load_anyFile_decodesItOrReturnsFalse) {
    writeBytes(file_, "");
    EXPECT_TRUE(Loader::load(file_, text_));
    EXPECT_EQ(text_, L"");
    for (const char* bytes : {"a\r\n\x1Az",
                              "\xEF\xBB\xBF"
                              "a\r\n\x1Az"}) {
        writeBytes(file_, bytes);
        EXPECT_TRUE(Loader::load(file_, text_));
        EXPECT_EQ(text_, L"a\r\n\x1Az");
    }
    writeBytes(file_, "ab\xC3");
    EXPECT_FALSE(Loader::load(file_, text_));
    EXPECT_FALSE(Loader::load(folder_.file(L""), text_)) << "a folder is no file";
    text_ = L"old";
    EXPECT_FALSE(Loader::load(folder_.file(L"missing"), text_));
    EXPECT_EQ(text_, L"old");
}

TEST_F(LoaderTest, save_impossiblePath_returnsFalseAndCreatesNothing) {
    EXPECT_FALSE(Loader::save(folder_.file(L"missing\\a.config"), L"a"));
    EXPECT_FALSE(test::fileExists(folder_.file(L"missing")));
    EXPECT_FALSE(Loader::save(folder_.file(L""), L"a"));
}

TEST_F(LoaderTest, saveAndLoad_everyCodeUnitBesideOthers_comesBack) {
    for (unsigned first = 0; first <= 0xFF00; first += 0x100) {
        std::wstring text;
        for (unsigned unit = first; unit < first + 0x100; ++unit) {
            for (const wchar_t neighbour : {L'a', L'\xD83D', L'\xDE00', L'\xF000'}) {
                text += {neighbour, static_cast<wchar_t>(unit)};
            }
            text += static_cast<wchar_t>(unit);
        }
        ASSERT_TRUE(Loader::save(file_, text));
        ASSERT_TRUE(Loader::load(file_, text_));
        ASSERT_EQ(text_, text) << first;
    }
}

TEST_F(LoaderTest, saveSerialized_values_areHeaderAndXmlForm) {
    EXPECT_TRUE(Loader::saveSerializedString(file_, SerializableUnion()));
    EXPECT_EQ(readBytes(file_), std::string(kHeader) + "<t>null</t>");
    PropertyBag bag;
    bag.setString(L"logFile", L"\u0416.log");
    EXPECT_TRUE(Loader::saveSerializedString(file_, bag));
    EXPECT_EQ(readBytes(file_), std::string(kHeader) +
                                    "<bag>\n<hmap>\n<p><k>logFile</k><t>string</t>"
                                    "<v>\xD0\x96.log</v></p>\n</hmap>\n</bag>\n");
}

TEST_F(LoaderTest, loadSerialized_hostileOrPartialFiles_keepWhatWasReadBeforeTheFault) {
    SerializableUnion value;
    value.setLong(7);
    EXPECT_FALSE(Loader::loadSerializedString(folder_.file(L"missing"), value));
    EXPECT_EQ(value.getLong(), 7);
    writeBytes(file_, "\xC3");
    EXPECT_FALSE(Loader::loadSerializedString(file_, value));
    EXPECT_EQ(value.getLong(), 7);
    writeBytes(file_, "");
    EXPECT_TRUE(Loader::loadSerializedString(file_, value));
    EXPECT_TRUE(value.isNull());
    PropertyBag bag;
    writeBytes(file_,
               std::string(kHeader) + "<bag><hmap><p><k>a</k><t>long</t><v>1</v></p><p><k>b</w>");
    EXPECT_FALSE(Loader::loadSerializedString(file_, bag));
    EXPECT_EQ(bag.getLong(L"a", 0), 1);
    EXPECT_EQ(bag.size(), 1U);
    for (const char* hostile : {"<bag", "<bag><hmap><p><k a>", "<hmap>", "\xEF\xBB"}) {
        writeBytes(file_, hostile);
        EXPECT_FALSE(Loader::loadSerializedString(file_, bag)) << hostile;
    }
}

TEST_F(LoaderTest, randomBags_throughAFile_comeBack) {
    test::Random random(23);
    SCOPED_TRACE(random.label());
    for (int round = 0; round < 100; ++round) {
        PropertyBag bag;
        for (std::size_t i = random.below(20); i > 0; --i) {
            bag.setUnion(random.text(10), random.value(2));
        }
        ASSERT_TRUE(Loader::saveSerializedString(file_, bag));
        PropertyBag back;
        ASSERT_TRUE(Loader::loadSerializedString(file_, back));
        ASSERT_EQ(test::xmlOf(back), test::xmlOf(bag)) << round;
    }
}

TEST_F(LoaderTest, transferThatFails_fullDiskOrCutFile_isFalseAndReported) {
    writeBytes(file_, "bytes");
    const TraceCapture trace;
    const auto lastReport = [&trace](const std::string& start) {
        std::string last;
        for (const std::string& line : trace.messages()) {
            last = line.find("catched") != std::string::npos ? line : last;
        }
        return last == start;
    };
    {
        const ReplacedImport full(__imp_fwrite, reinterpret_cast<void*>(&transferNothing));
        text_ = L"x";
        const bool saved = Loader::save(file_, text_);
        EXPECT_FALSE(saved);
    }
    EXPECT_TRUE(test::deleteFile(file_)) << "the file must be closed";
    {
        realClose = reinterpret_cast<decltype(realClose)>(__imp_fclose);
        const ReplacedImport full(__imp_fclose, reinterpret_cast<void*>(&closeAndFail));
        EXPECT_FALSE(Loader::save(file_, L"x"));
    }
    EXPECT_TRUE(lastReport("Loader::save: catched std::exception: cannot close file"));
    writeBytes(file_, "bytes");
    {
        const ReplacedImport cut(__imp_fread, reinterpret_cast<void*>(&transferNothing));
        const bool loaded = Loader::load(file_, text_);
        EXPECT_FALSE(loaded);
    }
    EXPECT_TRUE(lastReport("Loader::load: catched std::exception: cannot read file"));
    EXPECT_TRUE(test::deleteFile(file_));
}

// --- Trace lines --------------------------------------------------------------------

TEST_F(LoaderTest, steps_whileTracing_leaveTheirLines) {
    const std::wstring file = folder_.file(L"a.config");
    const std::string name(file.begin(), file.end());
    SerializableUnion value;
    value.setString(L"\u00E9");
    Lines save, load, missing, unopenable;
    {
        const TraceCapture trace;
        Loader::saveSerializedString(file, value);
        save = trace.messages();
    }
    {
        const TraceCapture trace;
        Loader::loadSerializedString(file, value);
        load = trace.messages();
    }
    {
        const TraceCapture trace;
        Loader::loadSerializedString(folder_.file(L"missing"), value);
        missing = trace.messages();
    }
    {
        const TraceCapture trace;
        Loader::save(folder_.file(L"missing\\a"), L"");
        unopenable = trace.messages();
    }
    EXPECT_EQ(
        save,
        (Lines{"Loader::saveSerializedString: enter",
               "Loader::saveSerializedString: serializing source...",
               "Loader::saveSerializedString: source serialized. (size=61)", "Loader::save: enter",
               "Loader::save: creating file...", "Loader::save: file created",
               "Loader::save: encoding source... (size=61)",
               "Loader::save: source encoded (size=62)", "Loader::save: writing to file...",
               "Loader::save: file written", "Loader::save: file closed", "Loader::save: leave"}));
    EXPECT_EQ(
        load,
        (Lines{
            "Loader::loadSerializedString: enter", "Loader::load(string): enter",
            "Loader::load(string): filename=" + name + "; filesize=62",
            "Loader::load(string): allocating buf...", "Loader::load(string): buf allocated",
            "Loader::load(string): reading file into buf...", "Loader::load(string): file read.",
            "Loader::load(string): copying buf to bufs...",
            "Loader::load(string): copied buf to bufs.", "Loader::load(string): deleting buf...",
            "Loader::load(string): deleted buf.", "Loader::load(string): decoding bufs to dest...",
            "Loader::load(string): decoded bufs to dest.", "Loader::load(string): closing file...",
            "Loader::load(string): file closed.", "Loader::load(string): leave",
            "Loader::loadSerializedString: deserializing wbufs... (size=61)",
            "Loader::loadSerializedString: deserialized.", "Loader::loadSerializedString: leave"}));
    EXPECT_EQ(missing,
              (Lines{"Loader::loadSerializedString: enter", "Loader::load(string): enter"}));
    EXPECT_EQ(unopenable,
              (Lines{"Loader::save: enter", "Loader::save: creating file...",
                     "Loader::save: cannot create file",
                     "Loader::save: catched std::exception: cannot open file for writing",
                     "Loader::save: leave"}));
}

// --- Memory -------------------------------------------------------------------------

// Fails every allocation of an operation in turn. Returns how many there were.
long failEachAllocation(const std::wstring& file, const std::function<bool()>& operation) {
    for (long allowed = 0;; ++allowed) {
        setCriticalError(kCriticalErrorNone);
        bool done = false;
        bool failed = false;
        {
            const AllocationLimit limit(allowed);
            done = operation();
            failed = limit.wasReached();
        }
        EXPECT_EQ(done, !failed) << allowed;
        EXPECT_EQ(criticalError(), failed ? 2U : 0U) << allowed;
        const std::string bytes = readBytes(file);
        EXPECT_TRUE(test::deleteFile(file) || !test::fileExists(file)) << "left open " << allowed;
        writeBytes(file, bytes);
        if (done || testing::Test::HasFailure()) {
            return allowed;
        }
    }
}

TEST_F(LoaderTest, memoryRunsOut_atAnyAllocation_isFalseAndTheCriticalError) {
    PropertyBag bag;
    SerializableUnion array;
    array.setArraySize(20);
    array.elementAt(19).setString(L"a text too long for the small string, with an & in it");
    bag.setUnion(L"a key too long for the small string as well", array);
    for (int i = 0; i < 20; ++i) {
        bag.setLong(L"k" + std::to_wstring(i), i);
    }
    ASSERT_TRUE(Loader::saveSerializedString(file_, bag));
    const std::string bytes = readBytes(file_);
    PropertyBag back;
    EXPECT_GT(failEachAllocation(file_, [&] { return Loader::loadSerializedString(file_, back); }),
              20);
    EXPECT_EQ(test::xmlOf(back), test::xmlOf(bag));
    EXPECT_GT(failEachAllocation(file_, [&] { return Loader::saveSerializedString(file_, bag); }),
              1);
    EXPECT_EQ(readBytes(file_), bytes) << "what was saved last was saved whole";
    setCriticalError(kCriticalErrorNone);
}

}  // namespace
}  // namespace zustd
