// Mutates documents and feeds them to both XML readers and the decoder. Runs a
// second each, or PELLORY_FUZZ_SECONDS; always from the same seed.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <set>

#include "ZuEncoder.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;
using namespace std::string_literals;

std::chrono::steady_clock::time_point endOfRun() {
    const char* seconds = std::getenv("PELLORY_FUZZ_SECONDS");
    return std::chrono::steady_clock::now() +
           std::chrono::seconds(seconds != nullptr ? std::atol(seconds) : 1);
}

// A handful of edits: tokens put in, stretches taken out, doubled and moved.
template <class Text, class Tokens>
void mutate(Text& text, const Tokens& tokens, Random& random) {
    for (std::size_t edits = 1 + random.below(6); edits > 0; --edits) {
        const std::size_t at = random.below(text.size() + 1);
        const std::size_t length = random.below(12);
        switch (random.below(5)) {
            // clang-format off
            case 0: text.insert(at, random.pick(tokens)); break;
            case 1: text.erase(at, length); break;
            case 2: text.insert(text.size() - at, Text(text.substr(at, length))); break;
            case 3: text.replace(at, length, random.pick(tokens)); break;
            default: text.resize(at); break;
                // clang-format on
        }
    }
}

// A stream ends its text at an entity that is none, and itself at FFFF: there
// the readers differ by design.
bool readersAgreeOn(std::wstring_view document) {
    for (std::size_t at = 0; (at = document.find_first_of(L"&\xFFFF", at)) < document.size();
         ++at) {
        const auto comes = [&](const wchar_t* entity) {
            return document.substr(at).starts_with(entity);
        };
        if (!comes(L"&lt;") && !comes(L"&gt;") && !comes(L"&apos;") && !comes(L"&quot;") &&
            !comes(L"&amp;")) {
            return false;
        }
    }
    return true;
}

// Reads a document with both readers and holds them to what they promise.
template <class Value>
bool checkDocument(const std::wstring& document) {
    Value fromRange;
    Value fromStream;
    const MemoryWatch memory;
    const Reading range = readFromRange(fromRange, document);
    EXPECT_LE(memory.peak(), 16384 + 100 * document.size());
    EXPECT_LE(range.taken, document.size());
    const std::string& failure = range.failure;
    static const std::set<std::string> kFailures = {
        "", "failed: attributesOK", "failed: sourcePos <= sourceEnd", "failed: depth <= kMaxDepth",
        "failed: implied <= kMaxImpliedElements"};
    EXPECT_TRUE(kFailures.contains(failure) ||
                (failure.starts_with("invalid: <") &&
                 failure.find("> expected, but found <") != std::string::npos))
        << failure;
    const Reading stream = readFromStream(fromStream, document);
    if (readersAgreeOn(document)) {
        EXPECT_EQ(range, stream);
        EXPECT_EQ(xmlOf(fromRange), xmlOf(fromStream));
    }
    return failure.empty();
}

TEST(FuzzedReaders, mutatedDocuments_rangeAndStream_keepTheirPromises) {
    static const std::wstring kTokens[] = {
        // clang-format off
        L"<", L">", L"</", L"&", L"&amp;", L"&lt;", L" ", L"=", L"'", L"\"", L"-1", L"\xFFFF",
        L"\xD800", L"\n", L"<t>array</t>", L"<c>2</c>", L"<c>64</c>", L"<c>99999999",
        L"<t>long</t>", L"<t>object</t>", L"<v>", L"</v>", L"<p>", L"<p><k>k</k>", L"</p>",
        L"<hmap>", L"</hmap>", L"</bag>", L"<?x?>", L"<v a='b'>",
        // clang-format on
    };
    Random random(1227);
    const auto end = endOfRun();
    std::size_t accepted = 0;
    std::size_t documents = 0;
    while (std::chrono::steady_clock::now() < end && !HasFailure()) {
        PropertyBag bag;
        random.fill(bag, 4, 4, 3);
        std::wstring document = xmlOf(bag);
        if (random.below(20) == 0) {
            for (int level = 0; level < 256; ++level) {
                document.insert(document.size() / 2, L"<t>array</t><c>1</c>");
            }
        }
        mutate(document, kTokens, random);
        SCOPED_TRACE(random.label() + " " + testing::PrintToString(document));
        accepted += checkDocument<PropertyBag>(document);
        const std::size_t value = document.find(L"<t>");
        checkDocument<SerializableUnion>(document.substr(value < document.size() ? value : 0));
        ++documents;
    }
    // The edits must not be so wild, nor so tame, that one side goes untested.
    EXPECT_GT(accepted, documents / 50);
    EXPECT_LT(accepted, documents - documents / 20);
    std::cout << documents << " documents, " << accepted << " accepted\n";
}

TEST(FuzzedDecoder, mutatedBytes_anyMark_keepItsPromises) {
    static const std::string kTokens[] = {"\xEF\xBB\xBF"s, "\xEF"s,     "\xBB"s, "\xC3\xA9"s,
                                          "\xE2\x82\xAC"s, "\xF0\x9F"s, "\x80"s, "\0"s};
    Random random(185);
    const auto end = endOfRun();
    std::size_t accepted = 0;
    std::size_t texts = 0;
    std::string bytes;
    std::wstring out;
    std::string again;
    std::wstring back;
    while (std::chrono::steady_clock::now() < end && !HasFailure()) {
        Encoder::encodeToUTF8(random.text(30), bytes);
        mutate(bytes, kTokens, random);
        SCOPED_TRACE(random.label() + " " + testing::PrintToString(bytes));
        const MemoryWatch memory;
        const std::wstring failure =
            thrownText([&] { Encoder::decodeFromUTF8(bytes, out, random.below(4) == 0); });
        EXPECT_LE(memory.peak(), 1024 + 4 * bytes.size());
        EXPECT_LE(out.size(), bytes.size());
        EXPECT_TRUE(failure == L"nothing" ||
                    failure.starts_with(L"Utf8DecoderStateMachine::tryReduce: ") ||
                    failure.starts_with(L"Encoder::decodeFromUTF8: utf8 string not fully decoded"));
        // Whatever came out of the decoder survives a save and a load.
        Encoder::encodeToUTF8(out, again);
        Encoder::decodeFromUTF8(again, back, false);
        EXPECT_EQ(back, out);
        accepted += failure == L"nothing";
        ++texts;
    }
    EXPECT_GT(accepted, texts / 20);
    EXPECT_LT(accepted, texts - texts / 20);
    std::cout << texts << " texts, " << accepted << " accepted\n";
}

}  // namespace
}  // namespace zustd
