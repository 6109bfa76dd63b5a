# The second compiler: clang compiles for the same target with the headers of
# mingw-w64's g++, and g++ links. Where those headers are is asked of g++, so
# that no version is written down here.
include("${CMAKE_CURRENT_LIST_DIR}/mingw-w64-x86_64.cmake")

set(pellory_reference_compiler ${CMAKE_CXX_COMPILER})
set(CMAKE_CXX_COMPILER clang++-14)

# Sets a variable to g++'s folders of headers, in its order, without the two
# that hold its own built-in headers: clang has those itself.
function(pellory_reference_headers result)
  execute_process(
    COMMAND ${pellory_reference_compiler} -E -x c++ -v -
    INPUT_FILE /dev/null OUTPUT_QUIET ERROR_VARIABLE report
    RESULT_VARIABLE status)
  if(NOT status EQUAL 0 OR
     NOT report MATCHES "#include <\\.\\.\\.> search starts here:\n(.*)End of search list")
    message(FATAL_ERROR "${pellory_reference_compiler} does not tell where its headers are:\n${report}")
  endif()
  string(REGEX MATCHALL "[^ \n][^\n]*" folders "${CMAKE_MATCH_1}")
  list(FILTER folders EXCLUDE REGEX "/lib/gcc/[^/]+/[^/]+/include(-fixed)?$")
  set(${result} "${folders}" PARENT_SCOPE)
endfunction()

pellory_reference_headers(pellory_folders)
set(CMAKE_CXX_FLAGS_INIT "--target=x86_64-w64-mingw32 -nostdinc++ -nostdlibinc")
# g++ predefines this for this target: its library has the comparison.
string(APPEND CMAKE_CXX_FLAGS_INIT " -D__GXX_TYPEINFO_EQUALITY_INLINE=0")
foreach(folder IN LISTS pellory_folders)
  if(folder MATCHES "/c\\+\\+")
    string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem \"${folder}\"")
  else()
    # Behind clang's built-in headers, which include the platform's next.
    string(APPEND CMAKE_CXX_FLAGS_INIT " -idirafter \"${folder}\"")
  endif()
endforeach()

# Read once the platform's own rules are set, which it replaces.
set(CMAKE_USER_MAKE_RULES_OVERRIDE_CXX "${CMAKE_CURRENT_LIST_DIR}/mingw-clang-rules.cmake")
