// A library that somebody put where the system may look for another one: leaves a note when it is
// loaded, in the file that PELLORY_PLANTED names.

#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    wchar_t path[MAX_PATH] = {};
    if (reason == DLL_PROCESS_ATTACH &&
        GetEnvironmentVariableW(L"PELLORY_PLANTED", path, MAX_PATH) != 0) {
        CloseHandle(CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    }
    return TRUE;
}
