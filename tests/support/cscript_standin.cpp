// A script host that zips: cscript <script> <folder> <archive>. It does what
// the utility's script asks the shell for, with stored entries. A script that
// does not exist is an error, as it is for the real one.
//
// PELLORY_ZIP_GATE  when set, half of the archive is written, and a copy of this
//                   program that stays behind adds the rest once the file of
//                   this name exists. "never" has no such copy.

#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "StandIn.h"
#include "ZipWriter.h"

namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot open a file of the folder");
    }
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string packed(const fs::path& folder) {
    standin::ZipWriter archive;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            archive.add(standin::toUtf8(entry.path().lexically_relative(folder).generic_wstring()),
                        contentOf(entry.path()));
        }
    }
    return archive.bytes();
}

int write(int file, const std::string& bytes) {
    const int count = _write(file, bytes.data(), static_cast<unsigned>(bytes.size()));
    return count == static_cast<int>(bytes.size()) ? 0 : 1;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 4 || !fs::is_regular_file(argv[1]) || !fs::is_directory(argv[2])) {
        std::fputs("usage: cscript <script> <folder> <archive>\n", stderr);
        return 1;
    }
    const std::string bytes = packed(argv[2]);
    const std::wstring gate = standin::environmentVariable(L"PELLORY_ZIP_GATE");
    const std::string half = bytes.substr(0, gate.empty() ? bytes.size() : bytes.size() / 2);
    if (argc > 4) {
        // The copy: the archive is open since before it was started.
        while (!fs::exists(gate)) {
            Sleep(5);
        }
        return write(_wtoi(argv[4]), bytes.substr(half.size()));
    }
    const int file = _wopen(argv[3], _O_CREAT | _O_TRUNC | _O_WRONLY | _O_BINARY, _S_IWRITE);
    const int result = write(file, half);
    if (!gate.empty() && gate != L"never") {
        std::wstring own(MAX_PATH, L'\0');
        own.resize(GetModuleFileNameW(nullptr, own.data(), MAX_PATH));
        const std::wstring script = L'"' + std::wstring(argv[2]) + L"\\plutil.log\"";
        _wspawnl(_P_NOWAIT, own.c_str(), L"cscript", script.c_str(),
                 (L'"' + std::wstring(argv[2]) + L'"').c_str(), L"-", std::to_wstring(file).c_str(),
                 nullptr);
    }
    return result;
}
