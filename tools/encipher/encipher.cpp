// Enciphers a UTF-8 text file for one of the framework's enciphered encodings,
// and deciphers such a file again.
//
//     encipher [-d] -e 2|3 -k KEYFILE IN OUT
//
// Encoding 2 enciphers the text as it is, encoding 3 compresses it first. The
// key file holds 64 hexadecimal digits; white space around them is ignored.
// OUT is written only after everything else went well; it can be neither IN nor
// the key file.

#include <share.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "ZuCipher.h"
#include "ZuEncoder.h"
#include "ZuFile.h"
#include "ZuText.h"

namespace {

enum ExitCode : int {
    kExitDone = 0,
    kExitUsage = 1,
    // A file cannot be read or written, or the key file holds no key.
    kExitFile = 2,
    // The text or the message in IN is refused.
    kExitRefused = 3,
};

constexpr char kUsage[] =
    "usage: encipher [-d] -e 2|3 -k KEYFILE IN OUT\n"
    "  -d  decipher IN instead of enciphering it\n"
    "  -e  encoding: 2 enciphered, 3 compressed and enciphered\n"
    "  -k  file with the key, 64 hexadecimal digits\n"
    "exit code: 0 done, 1 usage, 2 a file or the key, 3 IN is refused\n";

struct Failure {
    ExitCode exitCode;
    std::wstring text;
};

struct Options {
    bool deciphering = false;
    std::optional<zustd::CipherEncoding> encoding;
    std::wstring keyFile;
    std::wstring in;
    std::wstring out;
};

// Nobody may write to what is read while it is open: OUT can be neither IN nor
// the key file then, by whatever spelling or link, and no only copy is lost.
class Input {
public:
    explicit Input(const std::wstring& path) : file_(_wfsopen(path.c_str(), L"rb", _SH_DENYWR)) {
        if (!file_) {
            throw Failure{kExitFile, L"cannot open " + path};
        }
        std::array<char, 65536> block;
        while (const std::size_t size = std::fread(block.data(), 1, block.size(), file_.get())) {
            bytes_.append(block.data(), size);
        }
        if (std::ferror(file_.get()) != 0) {
            throw Failure{kExitFile, L"cannot read " + path};
        }
    }

    std::string_view bytes() const noexcept { return bytes_; }

private:
    const zustd::File file_;
    std::string bytes_;
};

void writeFile(const std::wstring& path, const std::string& bytes) {
    zustd::ReplacedFile file(path);
    if (!file.isOpen()) {
        throw Failure{kExitFile, L"cannot write (is it IN or the key file?) " + path};
    }
    if (!file.write(bytes) || !file.close()) {
        throw Failure{kExitFile, L"cannot write " + path};
    }
}

zustd::CipherKey keyOf(std::string_view digits) {
    constexpr std::string_view kWhiteSpace = " \t\r\n";
    digits.remove_prefix(std::min(digits.find_first_not_of(kWhiteSpace), digits.size()));
    digits.remove_suffix(digits.size() - (digits.find_last_not_of(kWhiteSpace) + 1));
    try {
        return zustd::CipherKey::fromHex(digits);
    } catch (const std::wstring&) {
        throw Failure{kExitFile, L"the key file holds no key of 64 hexadecimal digits"};
    }
}

std::string_view withoutBom(std::string_view utf8) {
    constexpr std::string_view kBom = "\xEF\xBB\xBF";
    return utf8.starts_with(kBom) ? utf8.substr(kBom.size()) : utf8;
}

// Refuses what the framework would not read as it was meant. Its decoder lets
// most malformed bytes pass as some other text, so the test is whether the
// text that it makes of them is written as the same bytes again.
void checkText(std::string_view utf8) {
    std::wstring text;
    try {
        zustd::Encoder::decodeFromUTF8(utf8, text, false);
    } catch (const std::wstring& reason) {
        throw Failure{
            kExitRefused,
            L"not UTF-8 (a text with characters from U+F000 needs a byte-order mark): " + reason};
    }
    std::string back;
    zustd::Encoder::encodeToUTF8(text, back);
    const std::string_view given = withoutBom(utf8);
    const std::string_view again = withoutBom(back);
    if (given != again) {
        const auto fault = std::mismatch(given.begin(), given.end(), again.begin(), again.end());
        throw Failure{kExitRefused,
                      L"not UTF-8, or a character beyond U+FFFF, at byte " +
                          std::to_wstring(fault.first - given.begin() +
                                          static_cast<std::ptrdiff_t>(utf8.size() - given.size()))};
    }
}

void parseEncoding(std::wstring_view value, Options& options) {
    if (value == L"2") {
        options.encoding = zustd::CipherEncoding::kEnciphered;
    } else if (value == L"3") {
        options.encoding = zustd::CipherEncoding::kCompressed;
    } else {
        throw Failure{kExitUsage, L"-e takes 2 or 3"};
    }
}

Options parseOptions(int count, wchar_t** arguments) {
    Options options;
    int at = 1;
    for (; at < count && arguments[at][0] == L'-'; ++at) {
        const std::wstring_view option = arguments[at];
        if (option == L"-d") {
            options.deciphering = true;
            continue;
        }
        if ((option != L"-e" && option != L"-k") || at + 1 == count) {
            throw Failure{kExitUsage,
                          L"unknown option, or no value for it: " + std::wstring(option)};
        }
        ++at;
        if (option == L"-e") {
            parseEncoding(arguments[at], options);
        } else {
            options.keyFile = arguments[at];
        }
    }
    if (!options.encoding || options.keyFile.empty() || count - at != 2) {
        throw Failure{kExitUsage, L"-e, -k, IN and OUT are needed"};
    }
    options.in = arguments[at];
    options.out = arguments[at + 1];
    return options;
}

void run(const Options& options) {
    const Input keyFile(options.keyFile);
    const zustd::CipherKey key = keyOf(keyFile.bytes());
    const Input in(options.in);
    if (!options.deciphering) {
        checkText(in.bytes());
    }
    std::string output;
    try {
        output = options.deciphering ? zustd::Cipher::decipher(*options.encoding, in.bytes(), key)
                                     : zustd::Cipher::encipher(*options.encoding, in.bytes(), key);
    } catch (const std::wstring& reason) {
        throw Failure{kExitRefused, reason};
    }
    writeFile(options.out, output);
}

int report(ExitCode exitCode, const std::wstring& text) {
    std::fprintf(stderr, "encipher: %s\n", zustd::narrow(text).c_str());
    return exitCode;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    try {
        run(parseOptions(count, arguments));
        return kExitDone;
    } catch (const Failure& failure) {
        report(failure.exitCode, failure.text);
        if (failure.exitCode == kExitUsage) {
            std::fputs(kUsage, stderr);
        }
        return failure.exitCode;
    } catch (const std::exception& failure) {
        return report(kExitFile, zustd::widen(failure.what()));
    }
}
