// An Explorer that leaves what it was asked to show in the file that PELLORY_EXPLORER names.

#include <cstdlib>
#include <filesystem>
#include <fstream>

int wmain(int argc, wchar_t** argv) {
    const wchar_t* const name = _wgetenv(L"PELLORY_EXPLORER");
    if (argc == 2 && name != nullptr) {
        const auto shown = std::filesystem::path(argv[1]).u8string();
        std::ofstream(std::filesystem::path(name), std::ios::app)
            << std::string(shown.begin(), shown.end());
    }
    return 0;
}
