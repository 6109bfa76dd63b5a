// The executable's import table, for putting other functions in it.
#pragma once

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace standin {

// Where this executable keeps the address of a function that it imports. A name
// that it does not import ends the program.
inline void** importSlot(const char* name) {
    auto* const base = reinterpret_cast<char*>(GetModuleHandleW(nullptr));
    const auto& headers = *reinterpret_cast<IMAGE_NT_HEADERS*>(
        base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const auto& table = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* library = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + table.VirtualAddress);
         library->Name != 0; ++library) {
        auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* slots = reinterpret_cast<void**>(base + library->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++slots) {
            const auto* const imported = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(
                base + static_cast<std::uintptr_t>(names->u1.AddressOfData));
            if (std::strcmp(imported->Name, name) == 0) {
                return slots;
            }
        }
    }
    std::fprintf(stderr, "%s is not imported\n", name);
    std::abort();
}

}  // namespace standin
