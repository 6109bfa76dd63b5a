// The executable's import table, for putting other functions in it.
#pragma once

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace standin {

// Puts a function in the place of one that this executable imports, and returns
// the former one. A name that is not imported ends the program.
inline void* replaceImport(const char* name, void* function) {
    auto* const base = reinterpret_cast<char*>(GetModuleHandleW(nullptr));
    const auto& headers = *reinterpret_cast<IMAGE_NT_HEADERS*>(
        base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD table =
        headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    void* former = nullptr;
    for (auto* library = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + table);
         library->Name != 0; ++library) {
        auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* slot = reinterpret_cast<void**>(base + library->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++slot) {
            const auto* const imported = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(
                base + static_cast<std::uintptr_t>(names->u1.AddressOfData));
            // A function may be imported under several names of the compiler's.
            if (std::strcmp(imported->Name, name) == 0) {
                former = std::exchange(*slot, function);
            }
        }
    }
    if (former == nullptr) {
        std::fprintf(stderr, "%s is not imported\n", name);
        std::abort();
    }
    return former;
}

}  // namespace standin
