// The Pellory Maintenance Utility: entry.

#include "Utility.h"
#include "ZuLateLoading.h"

int wmain(int argc, wchar_t** argv) {
    zustd::restrictLibrarySearch();
    return zuplutil::runUtility(argc, argv);
}
