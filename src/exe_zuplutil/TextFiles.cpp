#include "TextFiles.h"

#include "Console.h"
#include "ZuFile.h"

namespace zuplutil {

namespace {

// Whether the file could be opened; a text that does not fit on the disk is
// told here. The C runtime may close a file without a word about its last bytes.
bool write(const std::string& name, const char* mode, const std::string& text) {
    zustd::File file(std::fopen(name.c_str(), mode));
    if (!file) {
        return false;
    }
    std::fprintf(file.get(), "%s\n", text.c_str());
    const bool written = std::fflush(file.get()) == 0 && std::ferror(file.get()) == 0;
    if (std::fclose(file.release()) != 0 || !written) {
        printAndRecord("Could not write file %s\n", name.c_str());
    }
    return true;
}

}  // namespace

void writeTextFile(const std::string& name, const std::string& text) {
    if (!write(name, "w", text)) {
        printAndRecord("Could not open file %s for writing %s\n", name.c_str(), text.c_str());
    }
}

void appendLine(const std::string& name, const std::string& text) {
    if (!write(name, "a", text)) {
        printAndRecord("Could not open file %s for appending string %s\n", name.c_str(),
                       text.c_str());
    }
}

}  // namespace zuplutil
