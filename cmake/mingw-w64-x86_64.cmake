# For 64-bit Windows; what was built runs under Wine.
set(pellory_processor x86_64)
include("${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake")
set(CMAKE_CROSSCOMPILING_EMULATOR wine)
