// A library that somebody put where the system may look for another one: notes
// that it was loaded.

#include "StandIn.h"

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        wchar_t path[MAX_PATH] = {};
        GetModuleFileNameW(module, path, MAX_PATH);
        standin::note(L"PELLORY_PLANTED", path);
    }
    return TRUE;
}
