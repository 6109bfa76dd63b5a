# The library target `cryptopp`: those units of Crypto++ that the ciphers call,
# compiled from the source that tools/fetch_cryptopp.sh puts into the cache.
#
# The whole library would take minutes to compile and megabytes in the
# executable. Two of its units, dll.cpp and integer.cpp, would draw in most of
# the rest; cryptopp/templates.cpp stands in for the few definitions of theirs
# that the linker asks for. Left out as well are the units that only functions
# nobody calls refer to (hashes, the other random generators): the linker drops
# those functions before it misses anything, which is why users get
# --gc-sections along. Users include <cryptopp/...> as system headers.
include_guard()

set(PELLORY_CRYPTOPP_DIR "${CMAKE_SOURCE_DIR}/.cache/cryptopp" CACHE PATH
  "The folder above Crypto++'s source folder, which is named cryptopp")
set(cryptopp_source "${PELLORY_CRYPTOPP_DIR}/cryptopp")
if(NOT EXISTS "${cryptopp_source}/cryptlib.h")
  message(FATAL_ERROR "The source of Crypto++ is missing: run tools/fetch_cryptopp.sh")
endif()

# Units by what they are for. The _simd units are the only ones that may use
# more than the compiler's default set; whether the processor has it is asked
# at run time.
set(cryptopp_units
  cryptlib cpu algparam allocate misc fips140   # base
  filters mqueue queue                          # sources, sinks, filters
  rijndael rijndael_simd rdtables sse_simd      # AES
  gcm gcm_simd authenc modes                    # GCM
  osrng                                         # the system's random generator
  zlib zdeflate zinflate adler32)               # compression
list(TRANSFORM cryptopp_units REPLACE "(.+)" "${cryptopp_source}/\\1.cpp"
  OUTPUT_VARIABLE cryptopp_files)

add_library(cryptopp STATIC
  ${cryptopp_files}
  ${CMAKE_CURRENT_LIST_DIR}/cryptopp/templates.cpp)

set_source_files_properties("${cryptopp_source}/gcm_simd.cpp" PROPERTIES
  COMPILE_OPTIONS "-mssse3;-mpclmul")
set_source_files_properties("${cryptopp_source}/rijndael_simd.cpp" PROPERTIES
  COMPILE_OPTIONS "-msse4.1;-maes")
set_source_files_properties("${cryptopp_source}/sse_simd.cpp" PROPERTIES
  COMPILE_OPTIONS "-msse2")

# Not what moves the bytes.
set(cryptopp_cold cryptlib cpu algparam allocate fips140 filters mqueue queue authenc modes osrng
  zlib)
list(TRANSFORM cryptopp_cold REPLACE "(.+)" "${cryptopp_source}/\\1.cpp")
set_source_files_properties(${cryptopp_cold} ${CMAKE_CURRENT_LIST_DIR}/cryptopp/templates.cpp
  PROPERTIES COMPILE_OPTIONS -Os)

target_include_directories(cryptopp SYSTEM PUBLIC "${PELLORY_CRYPTOPP_DIR}")
# The headers' classes depend on these, so users must see the same.
target_compile_definitions(cryptopp PUBLIC USE_MS_CNGAPI _WIN32_WINNT=0x0601)
target_link_libraries(cryptopp PUBLIC bcrypt)
target_link_options(cryptopp INTERFACE -Wl,--gc-sections)

# Always optimised: an unoptimised cipher makes test runs crawl, and this is
# not the code that the checked build is there to check.
target_compile_options(cryptopp PRIVATE
  -w -O2 -ffunction-sections -fdata-sections
  -ffile-prefix-map=${PELLORY_CRYPTOPP_DIR}/=)
