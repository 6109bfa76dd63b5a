#include "ZuLoader.h"

#include <gtest/gtest.h>

#include <io.h>

#include <algorithm>
#include <cstdio>

#include "ZuPropertyBag.h"
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

// Writes as long as the disk has room, a few bytes at a time.
decltype(&_write) realWrite = nullptr;
unsigned roomOnDisk = 0;
int writeWhileThereIsRoom(int file, const void* bytes, unsigned size) {
    const unsigned taken = std::min({size, roomOnDisk, 3U});
    roomOnDisk -= taken;
    return taken == 0 ? -1 : realWrite(file, bytes, taken);
}

class LoaderTest : public testing::Test {
protected:
    TempFolder folder_;
    const std::wstring file_ = folder_.file(L"\u0416 a.config");
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
        EXPECT_TRUE(Loader::load(file_, text_));
        EXPECT_EQ(text_, text);
    }
    value_.setLong(7);
    EXPECT_TRUE(Loader::saveSerializedString(file_, value_));
    EXPECT_EQ(readBytes(file_), kHeader + "<t>long</t><v>7</v>");
    text_ = L"old";
    // To the system the last name ends at its zero; the first one is a folder's.
    for (const std::wstring& name :
         {folder_.file(L""), folder_.file(L"missing\\a"), file_ + L'\0' + L".config"}) {
        EXPECT_FALSE(Loader::save(name, L"a"));
        EXPECT_FALSE(Loader::load(name, text_));
        EXPECT_FALSE(Loader::loadSerializedString(name, value_));
    }
    EXPECT_EQ(text_, L"old");
    EXPECT_EQ(value_.getLong(), 7);
    EXPECT_EQ(readBytes(file_), kHeader + "<t>long</t><v>7</v>");
    writeBytes(file_, "ab\xC3");
    EXPECT_FALSE(Loader::load(file_, text_));
    EXPECT_EQ(text_, L"ab");
    writeBytes(file_, kHeader + "<bag><hmap><p><k>a</k><t>long</t><v>1</v></p><p><k>b</w>");
    EXPECT_FALSE(Loader::loadSerializedString(file_, bag_));
    EXPECT_EQ(bag_.getLong(L"a", 0), 1) << "what was read before the fault";
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
            EXPECT_EQ(operation(file_, text_), report.empty());
        }
        const std::string line = ": catched std::exception: " + report + "\r\n";
        EXPECT_EQ(trace.bytes().find(line) == std::string::npos, report.empty());
    };
    isReported(__imp__close, reinterpret_cast<void*>(&closeAndFail), Loader::save,
               "cannot close file");
    isReported(__imp_fread, reinterpret_cast<void*>(&transferNothing), Loader::load,
               "cannot read file");
    // What the file held stays when the disk has no room for more.
    for (const unsigned room : {0U, 1U, 6U, 12U}) {
        roomOnDisk = room;
        isReported(__imp__write, reinterpret_cast<void*>(&writeWhileThereIsRoom), Loader::save,
                   room < 12 ? "cannot write to file" : "");
        EXPECT_EQ(readBytes(file_), room < 12 ? "bytes" : "longer bytes") << room;
    }
    EXPECT_TRUE(Loader::save(L"NUL", L"a")) << "a device has no length";
    EXPECT_TRUE(deleteFile(file_)) << "the file must be closed";
}

TEST_F(LoaderTest, steps_whileTracing_leaveTheirLines) {
    const std::wstring file = folder_.file(L"a.config");
    // clang-format off
    const Lines expected = {
        "saveSerializedString: enter", "saveSerializedString: serializing source...",
        "saveSerializedString: source serialized. (size=61)", "save: enter", "save: creating file...",
        "save: file created", "save: encoding source... (size=61)", "save: source encoded (size=62)",
        "save: writing to file...", "save: file written", "save: file closed", "save: leave",
        "loadSerializedString: enter", "load(string): enter",
        "load(string): filename=" + narrow(file) + "; filesize=62", "load(string): allocating buf...",
        "load(string): buf allocated", "load(string): reading file into buf...", "load(string): file read.",
        "load(string): copying buf to bufs...", "load(string): copied buf to bufs.",
        "load(string): deleting buf...", "load(string): deleted buf.", "load(string): decoding bufs to dest...",
        "load(string): decoded bufs to dest.", "load(string): closing file...", "load(string): file closed.",
        "load(string): leave", "loadSerializedString: deserializing wbufs... (size=61)",
        "loadSerializedString: deserialized.", "loadSerializedString: leave", "save: enter",
        "save: creating file...", "save: cannot create file",
        "throwing: 'cannot open file for writing', in src/lib/ZuLoader, line ",
        "save: catched std::exception: cannot open file for writing", "save: leave"};
    // clang-format on
    value_.setString(L"\u00E9");
    const TraceCapture trace;
    EXPECT_TRUE(Loader::saveSerializedString(file, value_));
    EXPECT_TRUE(Loader::loadSerializedString(file, value_));
    EXPECT_FALSE(Loader::save(folder_.file(L"missing\\a"), L""));
    const Lines lines = trace.messages();
    ASSERT_EQ(lines.size(), expected.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const bool isFailure = expected[i].starts_with("throwing");
        EXPECT_TRUE(isFailure ? lines[i].starts_with(expected[i])
                              : lines[i] == "Loader::" + expected[i])
            << lines[i];
    }
}

TEST_F(LoaderTest, memoryRunsOut_atAnyAllocation_isFalseAndTheCriticalError) {
    value_.setArraySize(20);
    value_.elementAt(19).setString(L"a text too long for the small string, with an & in it");
    for (int i = 0; i < 20; ++i) {
        bag_.setUnion(std::wstring(40, L'k') + std::to_wstring(i), value_);
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
