# The flags that every target of the project shares. Call
# pellory_target(<target>) on each library and executable of ours; peers and
# test dependencies keep their own flags.
include_guard()

# For sources and targets whose size counts more than their speed; comes behind
# the build type's own level.
set(PELLORY_FOR_SIZE "$<$<CONFIG:Release>:-Os>")

function(pellory_target target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow
    -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wcast-qual
    -Wformat=2 -Wundef -Wextra-semi -Werror
    # What the system's structures are not told by name is zero.
    -Wno-missing-field-initializers
    -ffunction-sections -fdata-sections
    # Reports name a source by its path in the project, and no machine's
    # folders reach the executable.
    -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # This compiler's -Wrestrict takes sums of short strings for overlaps.
    target_compile_options(${target} PRIVATE
      -Wduplicated-cond -Wlogical-op -Wsuggest-override -Wno-restrict)
  else()
    # The formats are checked by g++; clang does not know gnu_printf.
    target_compile_options(${target} PRIVATE -Wno-ignored-attributes)
  endif()
  target_compile_definitions(${target} PRIVATE
    UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX STRICT
    WINVER=0x0601 _WIN32_WINNT=0x0601)
  if(PELLORY_CHECKED)
    target_compile_definitions(${target} PRIVATE _GLIBCXX_ASSERTIONS)
    target_compile_options(${target} PRIVATE
      -O1 -fsanitize=undefined -fsanitize-undefined-trap-on-error)
  endif()
  if(PELLORY_COVERAGE)
    # Threads count too, and the counters of a process that shares a file with another are added.
    # The calls stay those of what ships, which the tests of the utility play.
    target_compile_options(${target} PRIVATE -O1 -fno-builtin-fputs --coverage
                                             -fprofile-update=atomic)
    target_link_options(${target} PUBLIC --coverage)
  endif()
endfunction()
