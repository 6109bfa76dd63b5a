#include "ZuLoader.h"

#include <io.h>

#include <cstdio>
#include <filesystem>
#include <regex>

#include "ZuDirectory.h"
#include "ZuEncoder.h"
#include "ZuEncoderRuns.h"
#include "ZuFile.h"
#include "ZuWindows.h"
#include "support/FrameworkTest.h"

extern "C" {
extern void* __imp__close IMPORT_SLOT("_close", "");
extern void* __imp__write IMPORT_SLOT("_write", "");
extern void* __imp_fread IMPORT_SLOT("fread", "");
}

namespace zustd::test {
namespace {

using namespace std::string_literals;

const std::string kMark = "\xEF\xBB\xBF";
const std::wstring kMachine = L"Utf8DecoderStateMachine::tryReduce: ";
const std::wstring kIncompleteMark = kMachine + L"incomplete UTF8 Byte Order Mark encountered";
const std::wstring kMissingMark = kMachine + L"required UTF8 Byte Order Mark missing";
const std::wstring kFull = L"pending_.size < pending_.bytes.size()";
const std::wstring kNotDecoded =
    L"Encoder::decodeFromUTF8: utf8 string not fully decoded (incomplete trailing escape sequence)";

using Decoded = std::pair<std::wstring, std::wstring>;

Decoded decode(std::string_view bytes, bool bomRequired) {
    std::wstring text = L"old";
    const auto failure = thrownText([&] { Encoder::decodeFromUTF8(bytes, text, bomRequired); });
    return {text, failure};
}

Decoded decodeNaively(const std::string& bytes, bool bomRequired) {
    std::wstring text;
    bool isMarked = false;
    for (std::size_t at = 0, length = 0; at < bytes.size(); at += length) {
        const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[at + i]); };
        const bool isMark = byte(0) == 0xEF && !isMarked;
        length = byte(0) >= 0xE0 ? 3 : byte(0) >= 0xC0 ? 2 : 1;
        if (bomRequired && !isMarked && !isMark) {
            return {text, kMissingMark};
        }
        if (at + length > bytes.size()) {
            return {text, kNotDecoded};
        }
        if (isMark && bytes.compare(at, 3, kMark) != 0) {
            return {text, kIncompleteMark};
        }
        isMarked |= isMark;
        const int unit = length == 3   ? (byte(0) * 64 + byte(1) % 64) * 64 + byte(2) % 64
                         : length == 2 ? byte(0) % 32 * 64 + byte(1) % 64
                                       : bytes[at];
        text.append(isMark ? 0 : 1, static_cast<wchar_t>(unit));
    }
    return {text, bomRequired && !isMarked ? kNotDecoded : L"nothing"};
}

std::string encodeNaively(std::wstring_view text) {
    std::string bytes;
    for (const unsigned unit : text) {
        const std::string all = {static_cast<char>(0xE0 + unit / 4096),
                                 static_cast<char>((unit < 0x800 ? 0xC0 : 0x80) + unit / 64 % 64),
                                 static_cast<char>(unit < 0x80 ? unit : 0x80 + unit % 64)};
        bytes += all.substr(unit < 0x80 ? 2 : unit < 0x800 ? 1 : 0);
    }
    return bytes;
}

// Room for so many units, behind whose end nobody may look or write.
template <class Unit>
Unit* roomFor(std::size_t count) {
    constexpr std::size_t kSize = 0x200000;
    static char* const memory =
        static_cast<char*>(VirtualAlloc(nullptr, kSize + 4096, MEM_RESERVE, PAGE_NOACCESS));
    VirtualAlloc(memory, kSize, MEM_COMMIT, PAGE_READWRITE);
    return reinterpret_cast<Unit*>(memory + kSize) - count;
}

template <class Unit>
std::basic_string_view<Unit> guarded(const std::basic_string<Unit>& text) {
    Unit* const at = roomFor<Unit>(text.size());
    text.copy(at, text.size());
    return {at, text.size()};
}

TEST(Utf8Decoder, randomBytes_wholeAndByteByByte_decodeByTheDialectsRules) {
    // Hostile bytes between long stretches: the fast runs must stop where the state machine does.
    static constexpr std::string_view kHostile =
        "\x80\xBF\xC0\xC3\xDF\xE0\xE2\xED\xEE\xEF\xEF\xBB\xBF\xF0\xF4\xFF";
    static const std::string kStretches[] = {"a", "\xC3\xA9", "\xD0\x96", "\xE4\xB8\xAD", "\x9F"};
    Random random(846);
    for (int round = 0; round < 50'000; ++round) {
        std::string bytes = random.below(4) == 0 ? kMark : "";
        for (std::size_t runs = random.below(10); runs > 0; --runs) {
            const std::string pieces[] = {random.pick(kStretches), {random.pick(kHostile)}};
            const std::string piece = random.below(9) == 0 ? random.bytes(1) : random.pick(pieces);
            for (std::size_t count = random.below(2) == 0 ? 1 : random.below(20); count > 0;
                 --count) {
                bytes += piece;
            }
        }
        const bool bomRequired = random.below(4) == 0;
        SCOPED_TRACE(random.label() + " round " + std::to_string(round));
        const Decoded expected = decodeNaively(bytes, bomRequired);
        ASSERT_EQ(decode(guarded(bytes), bomRequired), expected);
        Utf8DecoderStateMachine machine(bomRequired);
        const std::wstring failure = thrownText([&] {
            std::ranges::for_each(bytes, [&](char byte) { machine.feed(byte); });
            machine.finish();
        });
        ASSERT_EQ(Decoded(machine.output(), failure), expected);
        ASSERT_EQ(thrownText([&] { machine.feed('a'); }) == kFull, failure == kIncompleteMark);
        // A run alone keeps to its room.
        const auto* const at = reinterpret_cast<const unsigned char*>(guarded(bytes).data());
        wchar_t* const out = roomFor<wchar_t>(bytes.size());
        const bool isBomDone = random.below(2) == 0;
        const auto run = detail::decodeRun({at, out}, at + bytes.size(), isBomDone);
        ASSERT_EQ(std::wstring(out, run.out),
                  decodeNaively((isBomDone ? kMark : "") + std::string(at, run.at), false).first);
    }
}

TEST(Encoder, failuresAndOtherEncodings_areTracedOrWidenEveryByte) {
    const TraceCapture trace;
    decode("A\xEF\xBF\xBD", false);
    decode("A", true);
    decode("\xC3", false);
    std::wstring out = L"old";
    EXPECT_EQ(thrownText([&] { Encoder::decodeFrom(7, "A", out); }) + out,
              L"Encoder::decodeFrom: unknown encoding");
    const Lines lines = trace.messages();
    EXPECT_TRUE(lines[0].ends_with("src/lib/ZuEncoder, line 846") && lines[1].ends_with(" 852"));
    EXPECT_TRUE(lines[2].ends_with(" 185") && lines[3].ends_with(" 103"));
    Encoder::decodeFrom(4, "\xE9\x80\x00"s, out);  // The number that resources have.
    EXPECT_EQ(out, L"\u00E9\u0080\0"s);
}

TEST(Utf8Encoder, randomTexts_ofStretchesAndNeighbours_areEncodedUnitByUnit) {
    static constexpr std::wstring_view kUnits =
        L"aZ\x7F\x80\xE9\x7FF\x800\x4E2D\xD83D\xDE00\x7FFF\x8000\xEFFF\xF000\xFEFF\xFFFF";
    Random random(1);
    std::string bytes = "old";
    std::wstring back;
    for (unsigned round = 0; round < 0x10000; ++round) {
        std::wstring text =
            std::wstring(round % 23, random.pick(kUnits)) + static_cast<wchar_t>(round);
        for (std::size_t runs = random.below(5); runs > 0; --runs) {
            text += std::wstring(random.below(30), random.pick(kUnits)) + random.text(12);
            text += random.pick(kUnits.substr(random.below(3), 8));
        }
        // So long that a block's counts are added up more than once.
        text += std::wstring(round % 0x4000 == 0 ? 600'000 : 0, random.pick(kUnits));
        SCOPED_TRACE(random.label() + " round " + std::to_string(round));
        const bool needsMark = std::ranges::any_of(text, [](auto unit) { return unit >= 0xF000; });
        const std::wstring_view at = guarded(text);
        Encoder::encodeToUTF8(at, bytes);
        ASSERT_EQ(bytes, (needsMark ? kMark : "") + encodeNaively(text));
        Encoder::decodeFromUTF8(bytes, back, needsMark);
        ASSERT_EQ(back, text);
        char* const out = roomFor<char>(detail::measureEncoded(text).bytes);
        const auto run = detail::encodeRun({at.data(), out}, at.data() + at.size());
        ASSERT_TRUE(bytes.ends_with(std::string(out, run.out) +
                                    encodeNaively({run.at, at.data() + at.size()})));
    }
}

class LoaderTest : public testing::Test {
protected:
    TempFolder folder_;
    const std::wstring file_ = folder_.file(L"\u0416 a.config");
    std::wstring text_ = L"old";
    PropertyBag bag_;
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
    text_ = L"old";
    // To the system the last name ends at its zero; the first one is a folder's.
    for (const std::wstring& name :
         {folder_.file(L""), folder_.file(L"missing\\a"), file_ + L'\0' + L".config"}) {
        EXPECT_FALSE(Loader::save(name, L"a") || Loader::load(name, text_));
        EXPECT_FALSE(Loader::loadSerializedString(name, bag_) || isFile(name));
        EXPECT_ANY_THROW(zustd::deleteFile(name));
    }
    const std::wstring cut = folder_.file(L"") + L'\0';
    const TraceCapture trace;
    EXPECT_ANY_THROW(listDirectory(cut, L"*", nullptr, nullptr, false));
    EXPECT_ANY_THROW(createDirectory(folder_.file(L"made") + cut));
    const Lines lines = trace.messages();
    EXPECT_EQ(lines[0].find("throwing: 'Directory:listDirectory() failed', in "), 0U);
    EXPECT_EQ(lines[1].find("throwing: 'Directory:createDirectory() failed', in "), 0U);
    EXPECT_TRUE(text_ == L"old" && readBytes(file_) == texts[2].second);
    EXPECT_TRUE(Loader::save(L"NUL", L"a")) << "a device has no length";
    writeBytes(file_, "ab\xC3");
    EXPECT_TRUE(!Loader::load(file_, text_) && text_ == L"ab");
    writeBytes(file_, "<bag><hmap><p><k>a</k><t>long</t><v>1</v></p><p><k>b</w>");
    EXPECT_FALSE(Loader::loadSerializedString(file_, bag_));
    EXPECT_TRUE(bag_.getLong(L"a", 0) == 1 && bag_.size() == 1) << "read before the fault";
}

TEST_F(LoaderTest, transferThatFails_fullDiskOrCutFile_isFalseAndReported) {
    const auto isReported = [this](void*& slot, auto* replacement, auto&& operation,
                                   const std::string& report, const std::string& left) {
        writeBytes(file_, left.empty() ? "" : "bytes");
        text_ = L"longer bytes";
        const TraceCapture trace;
        {
            const ReplacedImport broken(slot, reinterpret_cast<void*>(replacement));
            EXPECT_EQ(operation(file_, text_), report.empty());
        }
        const std::string name = report == "cannot read file" ? "load" : "save";
        const std::string line = "Loader::" + name + ": catched std::exception: " + report + "\r\n";
        EXPECT_EQ(trace.bytes().find(line) == std::string::npos, report.empty());
        EXPECT_EQ(readBytes(file_), left);
    };
    static const auto handleOf = [](int f) { return reinterpret_cast<HANDLE>(_get_osfhandle(f)); };
    // A file ends before its size, the last bytes are lost, a disk has room for so many bytes.
    const auto none = +[](void*, std::size_t, std::size_t, std::FILE*) { return std::size_t{}; };
    isReported(__imp_fread, none, Loader::load, "cannot read file", "bytes");
    const auto closeAndFail = +[](int file) { return CloseHandle(handleOf(file)) - 2; };
    isReported(__imp__close, closeAndFail, Loader::save, "cannot close file", "longer bytes");
    static DWORD room = 0;
    const auto writeIfThereIsRoom = +[](int file, const void* bytes, unsigned size) {
        DWORD taken = std::min({DWORD{size}, room, DWORD{3}});
        room -= taken;
        WriteFile(handleOf(file), bytes, taken, &taken, nullptr);
        return static_cast<int>(taken);
    };
    for (const unsigned free : {0U, 1U, 6U, 12U}) {
        room = free;
        const char* const left = free == 1 ? "" : free < 12 ? "bytes" : "longer bytes";
        isReported(__imp__write, writeIfThereIsRoom, Loader::save,
                   free < 12 ? "cannot write to file" : "", left);
    }
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
        "throwing: 'cannot open file for writing', in src/lib/ZuLoader",
        "save: catched std::exception: cannot open file for writing", "save: leave"};
    // clang-format on
    SerializableUnion value;
    value.setString(L"\u00E9");
    const TraceCapture trace;
    EXPECT_TRUE(Loader::saveSerializedString(file, value));
    EXPECT_TRUE(Loader::loadSerializedString(file, value));
    EXPECT_FALSE(Loader::save(folder_.file(L"missing\\a"), L""));
    Lines lines = trace.messages();
    for (std::string& line : lines) {
        line = std::regex_replace(line, std::regex("^Loader::|, line \\d+$"), "");
    }
    EXPECT_EQ(lines, expected);
}

TEST_F(LoaderTest, memoryRunsOut_atAnyAllocation_isFalseAndTheCriticalError) {
    std::vector<SerializableUnion> values(20);
    values[19].setString(L"a text too long for the small string, with an & in it");
    for (int i = 0; i < 8; ++i) {
        bag_.setArray(std::wstring(40, L'k') + std::to_wstring(i), values);
    }
    ASSERT_TRUE(Loader::saveSerializedString(file_, bag_));
    const std::string bytes = readBytes(file_);
    PropertyBag back;
    const auto check = [&](bool done) {
        EXPECT_EQ(criticalError(), done ? 0U : 2U);
        setCriticalError(kCriticalErrorNone);
        EXPECT_EQ(readBytes(file_), bytes) << "without memory the file stays";
        back.setLong(std::wstring(40, L'k'), 1);
        EXPECT_EQ(xmlOf(back).find(L"<bag>"), 0U);
    };
    const auto load = [&] { return Loader::loadSerializedString(file_, back); };
    EXPECT_GT(failEachAllocation(load, check), 10);
    EXPECT_TRUE(load() && xmlOf(back) == xmlOf(bag_));
    const auto save = [&] { return Loader::saveSerializedString(file_, bag_); };
    EXPECT_GT(failEachAllocation(save, check), 1);
    std::filesystem::remove(file_);
    failEachAllocation(save, [&](bool done) { EXPECT_EQ(std::filesystem::remove(file_), done); });
    setCriticalError(kCriticalErrorNone);
}

}  // namespace
}  // namespace zustd::test
