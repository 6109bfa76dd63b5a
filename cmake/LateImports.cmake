# Late loading: pellory_late_imports(<target>) lets an executable load the
# system's libraries when they are first called; see src/lib/ZuLateLoading.h.
#
# The entries are made anew whenever one of our libraries was: for every name
# that these leave undefined and that an import library of the toolchain has.
# What nobody puts on a list is imported as usual; tools/dev/check_executable.sh
# fails on that.
include_guard()

set(PELLORY_LATE_LIBRARIES
  advapi32 bcrypt comctl32 comdlg32 gdi32 gdiplus msimg32 ole32 oleaut32 shell32 user32
  uxtheme)

# Makes the objects that the executables link.
function(pellory_make_late_imports)
  set(script "${CMAKE_SOURCE_DIR}/cmake/WriteLateImports.cmake")
  set(assembly "${CMAKE_SOURCE_DIR}/cmake/LateImports.S")
  set(list "${CMAKE_CURRENT_BINARY_DIR}/late_imports/late_imports.inc")
  add_custom_command(
    OUTPUT "${list}"
    COMMAND "${CMAKE_COMMAND}" "-DCOMPILER=${CMAKE_ASM_COMPILER}" "-DNM=${CMAKE_NM}"
      "-DARCHIVES=${ARGN}" "-DLIBRARIES=${PELLORY_LATE_LIBRARIES}" "-DOUTPUT=${list}" -P "${script}"
    DEPENDS ${ARGN} "${script}"
    COMMENT "Listing the functions that are loaded late"
    VERBATIM)
  add_library(late_imports OBJECT "${assembly}" "${list}")
  target_include_directories(late_imports PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/late_imports")
  set_source_files_properties("${assembly}" PROPERTIES OBJECT_DEPENDS "${list}")
endfunction()

function(pellory_late_imports target)
  target_link_libraries(${target} PRIVATE late_imports)
endfunction()
