#include "TextFiles.h"

#include <cstdio>
#include <memory>

#include "Console.h"

namespace zuplutil {

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

// Whether the file could be opened; a text that does not fit on the disk is
// told here.
bool write(const std::string& name, const char* mode, const std::string& text) {
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(name.c_str(), mode));
    if (!file) {
        return false;
    }
    // Flushing tells of a full disk; closing does not, on this C runtime.
    if (std::fprintf(file.get(), "%s\n", text.c_str()) < 0 || std::fflush(file.get()) != 0) {
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
