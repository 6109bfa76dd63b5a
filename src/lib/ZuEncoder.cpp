#include "ZuEncoder.h"

#include <algorithm>

#include "ZuCipher.h"
#include "ZuEncoderRuns.h"
#include "ZuPlankton.h"
#include "ZuScope.h"

namespace zustd {

void Encoder::decodeFrom(int encoding, std::string_view bytes, std::wstring& out) {
    switch (encoding) {
        case kEncodingUtf8:
            decodeFromUTF8(bytes, out, false);
            return;
        case kEncodingPlain:
            out.resize(bytes.size());
            std::transform(bytes.begin(), bytes.end(), out.begin(), [](char byte) {
                return static_cast<wchar_t>(static_cast<unsigned char>(byte));
            });
            return;
        case kEncodingEnciphered:
        case kEncodingEncipheredCompressed: {
            out.clear();
            detail::WipedText utf8(Cipher::decipher(static_cast<CipherEncoding>(encoding), bytes));
            decodeFromUTF8(utf8.text(), out, false);
            return;
        }
        default:
            out.clear();
            throwText(L"Encoder::decodeFrom: unknown encoding", ZU_LINE(103));
    }
}

void Encoder::decodeFromUTF8(std::string_view bytes, std::wstring& out, bool bomRequired) {
    Utf8DecoderStateMachine machine(bomRequired);
    out.resize(bytes.size());
    wchar_t* to = out.data();
    // As long as what was really decoded, also when decoding throws.
    const ScopeExit cut([&] { out.resize(static_cast<std::size_t>(to - out.data())); });
    const auto* at = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto* const end = at + bytes.size();
    while (at != end) {
        if (machine.isIdle() && machine.isTextAllowed()) {
            const detail::Decoding run = detail::decodeRun({at, to}, end, machine.isBomDone());
            at = run.at;
            to = run.out;
            if (at == end) {
                break;
            }
        }
        machine.feed(static_cast<char>(*at++));
        for (const wchar_t unit : machine.output()) {
            *to++ = unit;
        }
        machine.output().clear();
    }
    machine.finish();
}

void Encoder::encodeToUTF8(std::wstring_view text, std::string& out) {
    constexpr std::string_view kBom = "\xEF\xBB\xBF";
    const detail::EncodedSize size = detail::measureEncoded(text);
    out.resize(size.bytes + (size.needsBom ? kBom.size() : 0));
    detail::Encoding run{text.data(), out.data()};
    if (size.needsBom) {
        run.out = std::copy(kBom.begin(), kBom.end(), run.out);
    }
    const wchar_t* const end = run.at + text.size();
    run = detail::encodeRun(run, end);
    while (run.at != end) {
        const detail::Encoding next = detail::encodeUnit(run);
        const auto sourceCharsConsumed = next.at - run.at;
        ZU_ASSERT(sourceCharsConsumed == 1);
        run = next;
    }
}

void Utf8DecoderStateMachine::feed(char byte) {
    ZU_ASSERT(pending_.size < pending_.bytes.size());
    pending_.bytes[pending_.size++] = static_cast<unsigned char>(byte);
    tryReduce();
}

void Utf8DecoderStateMachine::finish() const {
    if (pending_.size != 0 || !isTextAllowed()) {
        throwText(
            L"Encoder::decodeFromUTF8: utf8 string not fully decoded (incomplete trailing escape "
            L"sequence)",
            ZU_LINE(185));
    }
}

void Utf8DecoderStateMachine::tryReduce() {
    const unsigned char lead = pending_.bytes[0];
    if (lead == detail::kBomLead && !bomDone_) {
        reduceBom();
        return;
    }
    if (!isTextAllowed()) {
        throwText(L"Utf8DecoderStateMachine::tryReduce: required UTF8 Byte Order Mark missing",
                  ZU_LINE(852));
    }
    const std::size_t length = detail::sequenceLength(lead);
    if (pending_.size == length) {
        output_.push_back(detail::decodeSequence(pending_.bytes.data(), length));
        pending_.size = 0;
    }
}

void Utf8DecoderStateMachine::reduceBom() {
    if (pending_.size != bom_.size()) {
        return;
    }
    if (pending_.bytes != bom_) {
        throwText(
            L"Utf8DecoderStateMachine::tryReduce: incomplete UTF8 Byte Order Mark encountered",
            ZU_LINE(846));
    }
    bomSeen_ = true;
    bomDone_ = true;
    pending_.size = 0;
}

}  // namespace zustd
