# Script: lists the functions of system libraries that archives of ours call, as
# lines for LateImports.S.
#
#   cmake -DCOMPILER=<gcc> -DNM=<nm> -DARCHIVES=<files> -DLIBRARIES=<names>
#         -DOUTPUT=<list> -P WriteLateImports.cmake
#
# A 32-bit name is written by the compiler with an underscore before and the
# size of its arguments behind; the library knows it without.
cmake_minimum_required(VERSION 3.22)

# Sets a variable to the names that nm tells of a file and that a pattern
# accepts, without the prefix of an imported address.
function(names_of file option pattern result)
  execute_process(COMMAND "${NM}" ${option} "${file}"
    OUTPUT_VARIABLE output ERROR_QUIET RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${NM} cannot read ${file}")
  endif()
  string(REGEX MATCHALL " ${pattern} _*[A-Y][A-Za-z0-9_]+(@[0-9]+)?\n" lines "${output}")
  string(REGEX MATCHALL " ${pattern} __imp_[^ \n]+\n" imported "${output}")
  list(APPEND lines ${imported})
  list(TRANSFORM lines REPLACE "^ ${pattern} (__imp_)?([^\n]+)\n$" "\\2")
  list(REMOVE_DUPLICATES lines)
  set(${result} "${lines}" PARENT_SCOPE)
endfunction()

set(called "")
foreach(archive IN LISTS ARCHIVES)
  names_of("${archive}" --undefined-only "U" names)
  list(APPEND called ${names})
endforeach()
list(REMOVE_DUPLICATES called)
list(SORT called)

# Sets a variable to what an import library of the toolchain has.
function(offered_by library result)
  execute_process(COMMAND "${COMPILER}" "-print-file-name=lib${library}.a"
    OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
  names_of("${file}" --defined-only "[TI]" names)
  set(${result} "${names}" PARENT_SCOPE)
endfunction()

# What these have is there from the start.
foreach(library kernel32 msvcrt)
  offered_by(${library} offered)
  list(REMOVE_ITEM called ${offered})
endforeach()

set(text "")
foreach(library IN LISTS LIBRARIES)
  offered_by(${library} offered)
  string(APPEND text "late_library ${library}\n")
  foreach(symbol IN LISTS called)
    if(symbol IN_LIST offered)
      string(REGEX REPLACE "^_(.+)@[0-9]+$" "\\1" name "${symbol}")
      string(APPEND text "late_function ${symbol}, ${name}, ${library}\n")
      list(REMOVE_ITEM called ${symbol})
    endif()
  endforeach()
endforeach()
if(NOT text MATCHES "late_function")
  message(FATAL_ERROR "No function of a system library is called: the lists are wrong")
endif()
file(WRITE "${OUTPUT}" "${text}")
