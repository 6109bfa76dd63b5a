// Files and directories by path; needs no service.
//
// Failures are thrown bare, after their throw report: a wide C string from
// deleteFile and createDirectory, the system's error code from listDirectory. A
// path with a zero in it names nothing.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zustd {

// Whether the path names an existing directory, or an existing file (anything
// that is not a directory).
bool isDirectory(const std::wstring& path) noexcept;
bool isFile(const std::wstring& path) noexcept;

// Deletes a file and returns true. Throws L"Directory:deleteFile() failed".
bool deleteFile(const std::wstring& path);

// Creates one level of directory. Throws L"Directory:createDirectory() failed",
// also when the directory exists.
void createDirectory(const std::wstring& path);

// Appends what matches the pattern in a directory, in the system's order: names
// alone, or whole paths with fullPaths. Directories but "." and ".." go to
// directoriesOut, everything else to filesOut; a null list is not filled. Any failure
// but no match throws the system's error code as a std::uint32_t.
void listDirectory(const std::wstring& directory, const std::wstring& pattern,
                   std::vector<std::wstring>* directoriesOut, std::vector<std::wstring>* filesOut,
                   bool fullPaths);

}  // namespace zustd
