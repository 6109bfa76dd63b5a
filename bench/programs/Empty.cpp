// The program that does nothing, to compare starts with, and the command
// interpreter that does nothing.
//
// Without arguments it prompts and waits for a line. With arguments it ends at
// once; where BENCH_COMMANDS names a file, it notes there what it was to run.
// Built with BENCH_IMPORTS it has the system load, at its start, what the
// utility loads when it is first needed.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#ifdef BENCH_IMPORTS
extern "C" {
// One function of each library; none is called.
void __declspec(dllimport) AlphaBlend();
void __declspec(dllimport) BCryptGenRandom();
void __declspec(dllimport) CoInitialize();
void __declspec(dllimport) CreateSolidBrush();
void __declspec(dllimport) GdiplusStartup();
void __declspec(dllimport) GetOpenFileNameW();
void __declspec(dllimport) GetUserNameW();
void __declspec(dllimport) InitCommonControls();
void __declspec(dllimport) IsThemeActive();
void __declspec(dllimport) MessageBoxW();
void __declspec(dllimport) SHGetSpecialFolderPathW();
void __declspec(dllimport) SysFreeString();
}
using Function = void (*)();
static const Function imports[] = {
    AlphaBlend,    BCryptGenRandom,    CoInitialize,  CreateSolidBrush, GdiplusStartup,
    GetUserNameW,  InitCommonControls, IsThemeActive, MessageBoxW,      SHGetSpecialFolderPathW,
    SysFreeString, GetOpenFileNameW};
#endif

extern "C" __declspec(dllimport) char* __stdcall GetCommandLineA();

// What follows the first " /c " of the raw command line.
static void note(const char* file) {
    const char* command = strstr(GetCommandLineA(), " /c ");
    FILE* commands = command != nullptr ? fopen(file, "a") : nullptr;
    if (commands != nullptr) {
        fprintf(commands, "%s\n", command + 4);
        fclose(commands);
    }
}

int main(int argc, char**) {
#ifdef BENCH_IMPORTS
    const Function* volatile kept = imports;
    static_cast<void>(kept);
#endif
    if (argc > 1) {
        const char* file = getenv("BENCH_COMMANDS");
        if (file != nullptr) {
            note(file);
        }
        return 0;
    }
    puts("ready");
    fflush(stdout);
    return getchar() == EOF ? 1 : 0;
}
