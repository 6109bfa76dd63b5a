# How g++ links what clang compiled; see mingw-clang.cmake. The flags of the
# compilation stay out: g++ does not know them all.
set(CMAKE_CXX_LINK_EXECUTABLE
  "x86_64-w64-mingw32-g++-posix <CMAKE_CXX_LINK_FLAGS> <LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES>")
