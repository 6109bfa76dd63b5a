// An Explorer that notes what it was asked to show, in the file that
// PELLORY_EXPLORER names, and comes back at once.

#include "StandIn.h"

int wmain(int argc, wchar_t** argv) {
    for (int i = 1; i < argc; ++i) {
        standin::note(L"PELLORY_EXPLORER", argv[i]);
    }
    return 0;
}
