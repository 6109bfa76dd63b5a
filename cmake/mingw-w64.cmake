# Cross-compiles for Windows with mingw-w64's g++ (posix threads). The including
# file says which (pellory_processor is x86_64 or i686). What was built runs
# under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${pellory_processor})

set(pellory_triplet ${pellory_processor}-w64-mingw32)
set(CMAKE_C_COMPILER ${pellory_triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${pellory_triplet}-g++-posix)
set(CMAKE_ASM_COMPILER ${pellory_triplet}-gcc-posix)
set(CMAKE_RC_COMPILER ${pellory_triplet}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${pellory_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Static, reproducible, and without what nobody calls: the executable must
# start on a machine that has nothing but Windows.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -Wl,--gc-sections -Wl,--no-insert-timestamp")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -Wl,--gc-sections -Wl,--no-insert-timestamp")

set(CMAKE_CROSSCOMPILING_EMULATOR wine)
