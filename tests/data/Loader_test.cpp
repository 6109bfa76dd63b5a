#include "ZuLoader.h"

#include <gtest/gtest.h>

#include <io.h>

#include <algorithm>
#include <cstdio>

#include "ZuText.h"
#include "support/FrameworkTest.h"

extern "C" {
extern void* __imp__close IMPORT_SLOT("_close", "");
extern void* __imp__write IMPORT_SLOT("_write", "");
extern void* __imp_fread IMPORT_SLOT("fread", "");
}

namespace zustd {
namespace {

using namespace test;

const std::string kHeader = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n";

std::size_t transferNothing(const void*, std::size_t, std::size_t, std::FILE*) { return 0; }

// Closes as ever, but reports that the last bytes did not reach the disk.
decltype(&_close) realClose = nullptr;
int closeAndFail(int file) {
    realClose(file);
    return -1;
}

// Writes as long as the disk has room.
decltype(&_write) realWrite = nullptr;
unsigned roomOnDisk = 0;
int writeWhileThereIsRoom(int file, const void* bytes, unsigned size) {
    const unsigned taken = std::min(size, roomOnDisk);
    roomOnDisk -= taken;
    return taken == 0 ? -1 : realWrite(file, bytes, taken);
}

class LoaderTest : public testing::Test {
protected:
    TempFolder folder_;
    const std::wstring file_ = folder_.file(L"\u0416 settings.config");
    std::wstring text_ = L"old";
    PropertyBag bag_;
    SerializableUnion value_;
};

TEST_F(LoaderTest, saveAndLoad_anyText_writeAndReadExactBytes) {
    writeBytes(file_, "something longer than what follows");
    const std::pair<const wchar_t*, const char*> texts[] = {
        {L"a\r\n\u00E9\x1Az", "a\r\n\xC3\xA9\x1Az"},
        {L"", ""},
        {L"\uF8FF", "\xEF\xBB\xBF\xEF\xA3\xBF"}};
    for (const auto& [text, bytes] : texts) {
        EXPECT_TRUE(Loader::save(file_, text));
        EXPECT_EQ(readBytes(file_), bytes);
        text_ = L"old";
        EXPECT_TRUE(Loader::load(file_, text_));
        EXPECT_EQ(text_, text);
    }
    EXPECT_TRUE(Loader::saveSerializedString(file_, value_));
    EXPECT_EQ(readBytes(file_), kHeader + "<t>null</t>");
    writeBytes(file_, "ab\xC3");
    EXPECT_FALSE(Loader::load(file_, text_));
    text_ = L"old";
    for (const wchar_t* name : {L"missing\\a.config", L"missing", L""}) {
        EXPECT_TRUE(*name == L'm' || !Loader::save(folder_.file(name), L"a")) << "a folder";
        EXPECT_FALSE(Loader::load(folder_.file(name), text_));
    }
    EXPECT_FALSE(Loader::save(folder_.file(L"missing\\a.config"), L"a"));
    EXPECT_FALSE(fileExists(folder_.file(L"missing")));
    // A name that the system would not read to its end is no other file's.
    const std::wstring longerName = file_ + L'\0' + L".config";
    EXPECT_FALSE(Loader::save(longerName, L"a"));
    EXPECT_FALSE(Loader::load(longerName, text_));
    EXPECT_EQ(text_, L"old");
    EXPECT_EQ(readBytes(file_), "ab\xC3");
}

TEST_F(LoaderTest, loadSerialized_hostileOrPartialFiles_keepWhatWasReadBeforeTheFault) {
    value_.setLong(7);
    EXPECT_FALSE(Loader::loadSerializedString(folder_.file(L"missing"), value_));
    writeBytes(file_, "\xC3");
    EXPECT_FALSE(Loader::loadSerializedString(file_, value_));
    EXPECT_EQ(value_.getLong(), 7);
    writeBytes(file_, "");
    EXPECT_TRUE(Loader::loadSerializedString(file_, value_));
    EXPECT_TRUE(value_.isNull());
    writeBytes(file_, kHeader + "<bag><hmap><p><k>a</k><t>long</t><v>1</v></p><p><k>b</w>");
    EXPECT_FALSE(Loader::loadSerializedString(file_, bag_));
    EXPECT_EQ(bag_.getLong(L"a", 0), 1);
    EXPECT_EQ(bag_.size(), 1U);
}

TEST_F(LoaderTest, transferThatFails_fullDiskOrCutFile_isFalseAndReported) {
    realClose = reinterpret_cast<decltype(realClose)>(__imp__close);
    realWrite = reinterpret_cast<decltype(realWrite)>(__imp__write);
    const auto isReported = [this](void*& slot, void* replacement, auto&& operation,
                                   const std::string& report) {
        writeBytes(file_, "bytes");
        text_ = L"longer bytes";
        const TraceCapture trace;
        {
            const ReplacedImport broken(slot, replacement);
            EXPECT_FALSE(operation(file_, text_));
        }
        const std::string line = ": catched std::exception: " + report + "\r\n";
        EXPECT_NE(trace.bytes().find(line), std::string::npos) << trace.bytes();
    };
    isReported(__imp__close, reinterpret_cast<void*>(&closeAndFail), Loader::save,
               "cannot close file");
    isReported(__imp_fread, reinterpret_cast<void*>(&transferNothing), Loader::load,
               "cannot read file");
    // What the file held stays when the disk has no room for more.
    for (const unsigned room : {0U, 1U, 6U}) {
        roomOnDisk = room;
        isReported(__imp__write, reinterpret_cast<void*>(&writeWhileThereIsRoom), Loader::save,
                   "cannot write to file");
        EXPECT_EQ(readBytes(file_), "bytes") << room;
    }
    EXPECT_FALSE(Loader::save(kFullDevice, L"a"));
    EXPECT_TRUE(isFullDevice());
    EXPECT_TRUE(deleteFile(file_)) << "the file must be closed";
}

TEST_F(LoaderTest, steps_whileTracing_leaveTheirLines) {
    const std::wstring file = folder_.file(L"a.config");
    const auto linesOf = [](const auto& operation) {
        const TraceCapture trace;
        operation();
        return trace.messages();
    };
    value_.setString(L"\u00E9");
    EXPECT_EQ(
        linesOf([&] { Loader::saveSerializedString(file, value_); }),
        (Lines{"Loader::saveSerializedString: enter",
               "Loader::saveSerializedString: serializing source...",
               "Loader::saveSerializedString: source serialized. (size=61)", "Loader::save: enter",
               "Loader::save: creating file...", "Loader::save: file created",
               "Loader::save: encoding source... (size=61)",
               "Loader::save: source encoded (size=62)", "Loader::save: writing to file...",
               "Loader::save: file written", "Loader::save: file closed", "Loader::save: leave"}));
    EXPECT_EQ(
        linesOf([&] { Loader::loadSerializedString(file, value_); }),
        (Lines{
            "Loader::loadSerializedString: enter", "Loader::load(string): enter",
            "Loader::load(string): filename=" + narrow(file) + "; filesize=62",
            "Loader::load(string): allocating buf...", "Loader::load(string): buf allocated",
            "Loader::load(string): reading file into buf...", "Loader::load(string): file read.",
            "Loader::load(string): copying buf to bufs...",
            "Loader::load(string): copied buf to bufs.", "Loader::load(string): deleting buf...",
            "Loader::load(string): deleted buf.", "Loader::load(string): decoding bufs to dest...",
            "Loader::load(string): decoded bufs to dest.", "Loader::load(string): closing file...",
            "Loader::load(string): file closed.", "Loader::load(string): leave",
            "Loader::loadSerializedString: deserializing wbufs... (size=61)",
            "Loader::loadSerializedString: deserialized.", "Loader::loadSerializedString: leave"}));
    Lines failed = linesOf([&] { Loader::save(folder_.file(L"missing\\a"), L""); });
    failed.at(3).resize(failed[3].rfind(' '));  // the line may be another one
    EXPECT_EQ(failed, (Lines{"Loader::save: enter", "Loader::save: creating file...",
                             "Loader::save: cannot create file",
                             "throwing: 'cannot open file for writing', in src/lib/ZuLoader, line",
                             "Loader::save: catched std::exception: cannot open file for writing",
                             "Loader::save: leave"}));
}

TEST_F(LoaderTest, memoryRunsOut_atAnyAllocation_isFalseAndTheCriticalError) {
    value_.setArraySize(20);
    value_.elementAt(19).setString(L"a text too long for the small string, with an & in it");
    bag_.setUnion(L"a key too long for the small string as well", value_);
    for (int i = 0; i < 20; ++i) {
        bag_.setLong(L"k" + std::to_wstring(i), i);
    }
    ASSERT_TRUE(Loader::saveSerializedString(file_, bag_));
    const std::string bytes = readBytes(file_);
    const auto check = [&](bool done) {
        EXPECT_EQ(criticalError(), done ? 0U : 2U);
        setCriticalError(kCriticalErrorNone);
        EXPECT_EQ(readBytes(file_), bytes) << "without memory the file stays";
        EXPECT_TRUE(deleteFile(file_)) << "the file must be closed";
        writeBytes(file_, bytes);
    };
    PropertyBag back;
    const auto load = [&] { return Loader::loadSerializedString(file_, back); };
    EXPECT_GT(failEachAllocation(load, check), 10);
    EXPECT_EQ(xmlOf(back), xmlOf(bag_));
    const auto save = [&] { return Loader::saveSerializedString(file_, bag_); };
    EXPECT_GT(failEachAllocation(save, check), 1);
    const std::wstring made = folder_.file(L"made");
    const auto make = [&] { return Loader::saveSerializedString(made, bag_); };
    failEachAllocation(make, [&](bool done) { EXPECT_EQ(deleteFile(made), done); });
    setCriticalError(kCriticalErrorNone);
}

}  // namespace
}  // namespace zustd
