// Takes the place of two of the system's programs: a script host that zips what the utility's
// script asks for, cscript <script> <folder> <archive>, and an Explorer that shows nothing.

#include "ZipWriter.h"

int wmain(int argc, wchar_t** argv) {
    if (argc == 4 && std::filesystem::is_regular_file(argv[1])) {
        std::ofstream(std::filesystem::path(argv[3]), std::ios::binary)
            << zuplutil::test::zipOf(zuplutil::test::filesBelow(argv[2]));
    }
    return 0;
}
