// A program that only lives: tests copy it under the name of the program whose
// presence matters. It ends when its first argument, a file, is gone, and after
// a minute at the latest.

#include <windows.h>

int wmain(int argc, wchar_t** argv) {
    for (int i = 0; i < 1200 && argc > 1; ++i) {
        if (GetFileAttributesW(argv[1]) == INVALID_FILE_ATTRIBUTES) {
            break;
        }
        Sleep(50);
    }
    return 0;
}
