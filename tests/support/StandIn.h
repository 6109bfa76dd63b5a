// What the stand-ins share: a note of what they were asked to do.
//
// Stand-ins are small programs that take the place of the system's own while
// the utility is tested: the test's environment leads to them.
#pragma once

#include <windows.h>

#include <string>

namespace standin {

// Empty when the variable is not set.
inline std::wstring environmentVariable(const wchar_t* name) {
    std::wstring value(32 * 1024, L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

inline std::string toUtf8(const std::wstring& text) {
    std::string bytes(text.size() * 3, '\0');
    bytes.resize(static_cast<std::size_t>(
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                            static_cast<int>(bytes.size()), nullptr, nullptr)));
    return bytes;
}

// Appends a line to the file that an environment variable names, if it does.
// Every line is one write, so that programs at the same time do not mix.
inline void note(const wchar_t* variable, const std::wstring& line) {
    const std::wstring path = environmentVariable(variable);
    if (path.empty()) {
        return;
    }
    const HANDLE file = CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return;
    }
    const std::string bytes = toUtf8(line) + "\n";
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
}

}  // namespace standin
