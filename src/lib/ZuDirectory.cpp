#include "ZuDirectory.h"

#include <direct.h>
#include <stdio.h>

#include "ZuHandleWin32Gdi.h"

namespace zustd {

namespace {

std::wstring withBackslash(const std::wstring& directory) {
    return directory.empty() || directory.back() == L'\\' ? directory : directory + L'\\';
}

bool isDot(const std::wstring& name) { return name == L"." || name == L".."; }

}  // namespace

bool isDirectory(const std::wstring& path) noexcept {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool isFile(const std::wstring& path) noexcept {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool deleteFile(const std::wstring& path) {
    if (_wremove(path.c_str()) != 0) {
        throw L"Directory:deleteFile() failed";
    }
    return true;
}

void createDirectory(const std::wstring& path) {
    if (_wmkdir(path.c_str()) != 0) {
        throw L"Directory:createDirectory() failed";
    }
}

void listDirectory(const std::wstring& directory, const std::wstring& pattern,
                   std::vector<std::wstring>* directoriesOut, std::vector<std::wstring>* filesOut,
                   bool fullPaths) {
    const std::wstring prefix = withBackslash(directory);
    WIN32_FIND_DATAW found{};
    const std::wstring query = prefix + pattern;
    const FindHandle search(FindFirstFileW(query.c_str(), &found));
    if (!search) {
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND) {
            return;
        }
        throw static_cast<std::uint32_t>(error);
    }
    do {
        const std::wstring name = found.cFileName;
        if (isDot(name)) {
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
