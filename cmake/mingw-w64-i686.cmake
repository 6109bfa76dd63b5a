# For 32-bit Windows; see tools/dev/wine32.sh for the Wine that runs it.
# Numbers are computed as in the 64-bit program, without the old unit's longer
# registers.
set(pellory_processor i686)
include("${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake")
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
