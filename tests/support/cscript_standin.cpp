// A script host that zips: cscript <script> <folder> <archive>. It does what the utility's script
// asks the shell for, with stored entries, and refuses a script that does not exist.

#include <filesystem>
#include <fstream>
#include <iterator>

#include "ZipWriter.h"

int wmain(int argc, wchar_t** argv) {
    namespace fs = std::filesystem;
    if (argc != 4 || !fs::is_regular_file(argv[1])) {
        return 1;
    }
    zuplutil::test::ZipWriter archive;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(argv[2])) {
        if (entry.is_regular_file()) {
            const auto name = entry.path().lexically_relative(argv[2]).generic_u8string();
            std::ifstream in(entry.path(), std::ios::binary);
            archive.add(std::string(name.begin(), name.end()),
                        std::string(std::istreambuf_iterator<char>(in), {}));
        }
    }
    return std::ofstream(fs::path(argv[3]), std::ios::binary) << archive.bytes() ? 0 : 1;
}
