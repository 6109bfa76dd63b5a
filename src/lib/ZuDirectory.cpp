#include "ZuDirectory.h"

#include <direct.h>
#include <stdio.h>

#include "ZuFile.h"
#include "ZuHandleWin32Gdi.h"
#include "ZuPlankton.h"

namespace zustd {

namespace {

std::wstring withBackslash(const std::wstring& directory) {
    return directory.empty() || directory.back() == L'\\' ? directory : directory + L'\\';
}

bool isThere(const std::wstring& path, bool asDirectory) noexcept {
    const DWORD attributes =
        isWholeName(path) ? GetFileAttributesW(path.c_str()) : INVALID_FILE_ATTRIBUTES;
    return attributes != INVALID_FILE_ATTRIBUTES &&
           ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) == asDirectory;
}

[[noreturn]] void throwReported(const wchar_t* text, SourcePlace place) {
    throwTraced(text, place, text);
}

}  // namespace

bool isDirectory(const std::wstring& path) noexcept { return isThere(path, true); }

bool isFile(const std::wstring& path) noexcept { return isThere(path, false); }

bool deleteFile(const std::wstring& path) {
    if (!isWholeName(path) || _wremove(path.c_str()) != 0) {
        throwReported(L"Directory:deleteFile() failed", ZU_HERE);
    }
    return true;
}

void createDirectory(const std::wstring& path) {
    if (!isWholeName(path) || _wmkdir(path.c_str()) != 0) {
        throwReported(L"Directory:createDirectory() failed", ZU_HERE);
    }
}

void listDirectory(const std::wstring& directory, const std::wstring& pattern,
                   std::vector<std::wstring>* directoriesOut, std::vector<std::wstring>* filesOut,
                   bool fullPaths) {
    const std::wstring prefix = withBackslash(directory);
    WIN32_FIND_DATAW found{};
    const std::wstring query = prefix + pattern;
    const bool isWhole = isWholeName(query);
    const FindHandle search(isWhole ? FindFirstFileW(query.c_str(), &found) : INVALID_HANDLE_VALUE);
    if (!search) {
        const std::uint32_t error = isWhole ? GetLastError() : ERROR_INVALID_NAME;
        if (error == ERROR_FILE_NOT_FOUND) {
            return;
        }
        throwTraced(L"Directory:listDirectory() failed", ZU_HERE, error);
    }
    do {
        const std::wstring name = found.cFileName;
        if (name == L"." || name == L"..") {
            continue;
        }
        const std::wstring full = prefix + name;
        // Asked for by path: what cannot be asked counts as a file.
        std::vector<std::wstring>* list = isDirectory(full) ? directoriesOut : filesOut;
        if (list != nullptr) {
            list->push_back(fullPaths ? full : name);
        }
    } while (FindNextFileW(search.get(), &found));
}

}  // namespace zustd
