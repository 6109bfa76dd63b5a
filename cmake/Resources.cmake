# Compiles the files below resources/ into a target as constant data.
#
# pellory_resources(<target>) gives the target's sources the header
# ZuResourceFiles.h: per namespace the string table as file 1, then the images
# in the order of their numbers. Added, removed and changed files are noticed
# by the next build. Which namespaces there are, and in which order, is said by
# resources/languages.tsv alone; how many files each must have is checked while
# compiling, in ZuResources.cpp.
include_guard()

set(PELLORY_RESOURCES_SCRIPT "${CMAKE_CURRENT_LIST_DIR}/WriteResources.cmake")
set(PELLORY_RESOURCES_FOLDER "${CMAKE_CURRENT_LIST_DIR}/../resources")

# The first column of the list of languages. A namespace is found by its
# language: one of another form, or a language's second one, never would be.
function(pellory_read_namespaces file result)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
  file(STRINGS "${file}" lines)
  list(POP_FRONT lines)
  list(TRANSFORM lines REPLACE "\t.*" "")
  foreach(name IN LISTS lines)
    if(NOT name MATCHES "^[a-z]+-xx$")
      message(FATAL_ERROR "resources/languages.tsv: ${name} is no name of a namespace")
    endif()
  endforeach()
  set(distinct ${lines})
  list(REMOVE_DUPLICATES distinct)
  if(NOT distinct STREQUAL lines OR NOT lines MATCHES "xx-xx$")
    message(FATAL_ERROR "resources/languages.tsv: each language has one line, xx-xx the last")
  endif()
  set(${result} ${lines} PARENT_SCOPE)
endfunction()

# Refuses files that would be left out of the program without a word.
function(pellory_check_resource path)
  list(JOIN ARGN "|" namespaces)
  if(NOT path MATCHES "^strings/strings\\.(${namespaces})\\.xml$" AND
     NOT path MATCHES "^images/(${namespaces})/[1-9][0-9][0-9]+\\.png$")
    message(FATAL_ERROR
      "resources/${path} is neither the string table of a namespace in languages.tsv nor an "
      "image named by its number from 100 upward")
  endif()
endfunction()

function(pellory_resources target)
  get_filename_component(folder "${PELLORY_RESOURCES_FOLDER}" ABSOLUTE)
  pellory_read_namespaces("${folder}/languages.tsv" namespaces)
  file(GLOB_RECURSE files CONFIGURE_DEPENDS RELATIVE "${folder}"
    "${folder}/strings/*" "${folder}/images/*")
  list(REMOVE_ITEM files images/catalogue.tsv)
  list(SORT files COMPARE NATURAL)
  foreach(path IN LISTS files)
    pellory_check_resource("${path}" ${namespaces})
  endforeach()

  set(lines "")
  foreach(namespace IN LISTS namespaces)
    if(NOT "strings/strings.${namespace}.xml" IN_LIST files)
      message(FATAL_ERROR "resources/strings/strings.${namespace}.xml is missing")
    endif()
    string(APPEND lines "${namespace} 1 strings/strings.${namespace}.xml\n")
    foreach(path IN LISTS files)
      if(path MATCHES "^images/${namespace}/([0-9]+)\\.png$")
        string(APPEND lines "${namespace} ${CMAKE_MATCH_1} ${path}\n")
      endif()
    endforeach()
  endforeach()

  # The list's time changes only when a file came or went.
  set(generated "${CMAKE_CURRENT_BINARY_DIR}/generated")
  file(CONFIGURE OUTPUT "${generated}/resources.list" CONTENT "${lines}" @ONLY)
  list(TRANSFORM files PREPEND "${folder}/")
  add_custom_command(
    OUTPUT "${generated}/ZuResourceFiles.h"
    COMMAND "${CMAKE_COMMAND}" "-DLIST=${generated}/resources.list" "-DFOLDER=${folder}"
      "-DHEADER=${generated}/ZuResourceFiles.h" -P "${PELLORY_RESOURCES_SCRIPT}"
    DEPENDS ${files} "${generated}/resources.list" "${PELLORY_RESOURCES_SCRIPT}"
    COMMENT "Writing the resource files as constant data"
    VERBATIM)
  target_sources(${target} PRIVATE "${generated}/ZuResourceFiles.h")
  target_include_directories(${target} PRIVATE "${generated}")
endfunction()
