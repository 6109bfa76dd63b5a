# For 32-bit Windows; what was built runs under the 32-bit Wine of ./dev test32.
# Numbers are computed as in the 64-bit program, without the old unit's longer
# registers.
set(pellory_processor i686)
include("${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake")
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../tools/dev/wine32_run.sh")
