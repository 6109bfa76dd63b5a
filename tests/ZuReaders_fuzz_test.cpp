// Mutates documents and feeds them to both XML readers and the decoder. Runs a
// second each, or PELLORY_FUZZ_SECONDS; always from the same seed.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

#include "ZuEncoder.h"
#include "ZuPropertyBag.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using test::MemoryWatch;
using test::Random;
using test::Reading;

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
            case 0:
                text.insert(at, random.pick(tokens));
                break;
            case 1:
                text.erase(at, length);
                break;
            case 2:
                text.insert(random.below(text.size() + 1), Text(text.substr(at, length)));
                break;
            case 3:
                text.replace(at, length, random.pick(tokens));
                break;
            default:
                text.resize(at);
                break;
        }
    }
}

// A stream ends its text at an entity that is none, and itself at FFFF: there
// the readers differ by design.
bool readersAgreeOn(const std::wstring& document) {
    for (std::size_t at = 0; at < document.size(); ++at) {
        const std::wstring_view rest = std::wstring_view(document).substr(at);
        if (rest[0] == L'\xFFFF' || (rest[0] == L'&' && !rest.starts_with(L"&lt;") &&
                                     !rest.starts_with(L"&gt;") && !rest.starts_with(L"&apos;") &&
                                     !rest.starts_with(L"&quot;") && !rest.starts_with(L"&amp;"))) {
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
    const Reading range = test::readFromRange(fromRange, document);
    EXPECT_LE(memory.peak(), 16384 + 100 * document.size());
    EXPECT_LE(range.taken, document.size());
    const std::string& failure = range.failure;
    EXPECT_TRUE(failure.empty() || failure == "failed: attributesOK" ||
                failure == "failed: sourcePos <= sourceEnd" ||
                failure == "failed: depth <= kMaxDepth" ||
                failure == "failed: implied <= kMaxImpliedElements" ||
                (failure.starts_with("invalid: <") &&
                 failure.find("> expected, but found <") != std::string::npos))
        << failure;
    const Reading stream = test::readFromStream(fromStream, document);
    if (readersAgreeOn(document)) {
        EXPECT_EQ(range, stream);
        EXPECT_EQ(test::xmlOf(fromRange), test::xmlOf(fromStream));
    }
    return failure.empty();
}

TEST(FuzzedReaders, mutatedDocuments_rangeAndStream_keepTheirPromises) {
    static const std::wstring kTokens[] = {L"<",
                                           L">",
                                           L"</",
                                           L"&",
                                           L"&amp;",
                                           L"&lt;",
                                           L" ",
                                           L"=",
                                           L"'",
                                           L"\"",
                                           L"<t>array</t>",
                                           L"<c>2</c>",
                                           L"<c>64</c>",
                                           L"<c>99999999",
                                           L"<t>long</t>",
                                           L"<v>",
                                           L"</v>",
                                           L"<p>",
                                           L"<p><k>k</k>",
                                           L"</p>",
                                           L"<hmap>",
                                           L"</hmap>",
                                           L"<?x?>",
                                           L"<v a='b'>",
                                           L"<t>object</t>",
                                           L"-1",
                                           L"\xFFFF",
                                           L"\xD800",
                                           L"\n",
                                           L"</bag>"};
    Random random(1227);
    const auto end = endOfRun();
    std::size_t accepted = 0;
    std::size_t documents = 0;
    std::wstring deep;
    while (std::chrono::steady_clock::now() < end && !HasFailure()) {
        PropertyBag bag;
        for (std::size_t i = random.below(5); i > 0; --i) {
            bag.setUnion(random.text(4), random.value(3));
        }
        std::wstring document = test::xmlOf(bag);
        if (random.below(20) == 0) {
            deep.assign(L"<t>array</t><c>1</c>");
            for (int doubling = 0; doubling < 8; ++doubling) {
                deep += deep;
            }
            document.insert(document.size() / 2, deep);
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
    using namespace std::string_literals;
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
            test::thrownText([&] { Encoder::decodeFromUTF8(bytes, out, random.below(4) == 0); });
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
