#include "TextFiles.h"

#include "Console.h"
#include "ZuFile.h"

namespace zuplutil {

namespace {

// The C runtime may close a file without a word about its last bytes.
void write(const std::string& name, const char* mode, const char* purpose,
           const std::string& text) {
    zustd::File file(std::fopen(name.c_str(), mode));
    if (!file) {
        printAndRecord("Could not open file %s for %s %s\n", name.c_str(), purpose, text.c_str());
        return;
    }
    std::fprintf(file.get(), "%s\n", text.c_str());
    const bool written = std::fflush(file.get()) == 0 && std::ferror(file.get()) == 0;
    if (std::fclose(file.release()) != 0 || !written) {
        printAndRecord("Could not write file %s\n", name.c_str());
    }
}

}  // namespace

void writeTextFile(const std::string& name, const std::string& text) {
    write(name, "w", "writing", text);
}

void appendLine(const std::string& name, const std::string& text) {
    write(name, "a", "appending string", text);
}

}  // namespace zuplutil
