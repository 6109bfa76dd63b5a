// UTF-8 to UTF-16 and back.
#include <string>

#include "Rows.h"
#include "ZuEncoder.h"
#include "utf8.h"

namespace bench {

namespace {

constexpr std::size_t kUnits = 64 * 1024;

struct Sample {
    const char* name;
    const wchar_t* sentence;
};

constexpr Sample kSamples[] = {
    {"ASCII", L"<p><k>view.column.width.123</k><t>long</t><v>4711</v></p>\n"},
    {"Western",
     L"Gr\u00FC\u00DFe aus K\u00F6ln: le caf\u00E9 o\u00F9 l'\u00E9t\u00E9 a commenc\u00E9, "
     L"se\u00F1or. "},
    {"Cyrillic",
     L"\u0412\u0445\u043E\u0434\u044F\u0449\u0438\u0435 \u043F\u0438\u0441\u044C\u043C\u0430 "
     L"\u0437\u0430 \u0432\u0447\u0435\u0440\u0430, "},
    {"Japanese",
     L"\u53D7\u4FE1\u30C8\u30EC\u30A4\u306B\u65B0\u3057\u3044\u30E1\u30C3\u30BB\u30FC\u30B8"
     L"\u304C\u3042\u308A\u307E\u3059\u3002"},
};

std::wstring longText(const wchar_t* sentence) {
    std::wstring text;
    while (text.size() < kUnits) {
        text += sentence;
    }
    return text;
}

// Each run fills the same string: as long as the input may need at first, then
// cut to what was written. Filling a sized string is the peer's fastest way.
template <class Decode>
void decodeTheirs(const std::string& bytes, std::wstring& out, Decode decode) {
    out.resize(bytes.size());
    wchar_t* end = decode(bytes.data(), bytes.data() + bytes.size(), out.data());
    out.resize(static_cast<std::size_t>(end - out.data()));
}

template <class Encode>
void encodeTheirs(const std::wstring& text, std::string& out, Encode encode) {
    out.resize(text.size() * 3);
    char* end = encode(text.data(), text.data() + text.size(), out.data());
    out.resize(static_cast<std::size_t>(end - out.data()));
}

void decodeUnchecked(const std::string& bytes, std::wstring& out) {
    decodeTheirs(bytes, out, [](auto begin, auto end, auto to) {
        return utf8::unchecked::utf8to16(begin, end, to);
    });
}

void decodeChecked(const std::string& bytes, std::wstring& out) {
    decodeTheirs(bytes, out,
                 [](auto begin, auto end, auto to) { return utf8::utf8to16(begin, end, to); });
}

void encodeUnchecked(const std::wstring& text, std::string& out) {
    encodeTheirs(text, out, [](auto begin, auto end, auto to) {
        return utf8::unchecked::utf16to8(begin, end, to);
    });
}

void encodeChecked(const std::wstring& text, std::string& out) {
    encodeTheirs(text, out,
                 [](auto begin, auto end, auto to) { return utf8::utf16to8(begin, end, to); });
}

void decodeOurs(const std::string& bytes, std::wstring& out) {
    zustd::Encoder::decodeFromUTF8(bytes, out, false);
}

void encodeOurs(const std::wstring& text, std::string& out) {
    zustd::Encoder::encodeToUTF8(text, out);
}

// What any conversion has to do, the text once through the processor.
void copyText(const std::wstring& text, std::wstring& out) { out = text; }

template <class Out, class In>
Body converting(const In& input, void (*convert)(const In&, Out&)) {
    return [input, convert](benchmark::State& state) {
        Out out;
        for (auto _ : state) {
            convert(input, out);
            benchmark::DoNotOptimize(out.data());
            benchmark::ClobberMemory();
        }
    };
}

void requireSameWork(const std::wstring& text, const std::string& bytes) {
    for (const auto convert : {decodeOurs, decodeUnchecked, decodeChecked}) {
        std::wstring out;
        convert(bytes, out);
        require(out == text, "decoded texts");
    }
    for (const auto convert : {encodeOurs, encodeUnchecked, encodeChecked}) {
        std::string out;
        convert(text, out);
        require(out == bytes, "encoded texts");
    }
}

}  // namespace

void addEncoderRows() {
    for (const Sample& sample : kSamples) {
        const std::wstring text = longText(sample.sentence);
        std::string bytes;
        zustd::Encoder::encodeToUTF8(text, bytes);
        requireSameWork(text, bytes);
        const std::string decode = std::string("UTF-8 decode ") + sample.name;
        addOurs(decode, converting(bytes, decodeOurs));
        addPeer(decode, "utf8 unchecked", converting(bytes, decodeUnchecked));
        addPeer(decode, "utf8 checked", converting(bytes, decodeChecked));
        addPeer(decode, "copy", converting(text, copyText), Kind::kLimit);
        const std::string encode = std::string("UTF-8 encode ") + sample.name;
        addOurs(encode, converting(text, encodeOurs));
        addPeer(encode, "utf8 unchecked", converting(text, encodeUnchecked));
        addPeer(encode, "utf8 checked", converting(text, encodeChecked));
        addPeer(encode, "copy", converting(text, copyText), Kind::kLimit);
    }
}

}  // namespace bench
