# How every target of the project is compiled, linked and placed, and how tests are registered.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

option(ORVU_TESTS "build the tests" ON)
option(ORVU_BENCH "build the benchmarks" ON)
option(ORVU_FUZZ "build the fuzzers (needs clang)" OFF)
set(ORVU_SANITIZE "" CACHE STRING "sanitizers for -fsanitize=, comma-separated")

find_program(ORVU_CCACHE ccache)
if(ORVU_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER "${ORVU_CCACHE}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${ORVU_CCACHE}")
endif()

find_package(Threads REQUIRED)

# Flags that every target of ours takes; third-party headers come in as system headers.
add_library(orvu_flags INTERFACE)
target_compile_options(orvu_flags INTERFACE -Wall -Wextra -Werror)
if(WIN32)
  target_compile_definitions(orvu_flags INTERFACE
    _WIN32_WINNT=0x0A00 UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
endif()
if(ORVU_SANITIZE)
  target_compile_options(orvu_flags INTERFACE
    "-fsanitize=${ORVU_SANITIZE}" -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(orvu_flags INTERFACE "-fsanitize=${ORVU_SANITIZE}")
endif()
if(ORVU_FUZZ)
  target_compile_options(orvu_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
target_link_libraries(orvu_flags INTERFACE Threads::Threads)

# orvu_add_host_library(NAME SOURCES file... [LINK target...])
# A shared library of the standalone host: exports what the headers of host/ mark with ORVU_API.
function(orvu_add_host_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_library(${name} SHARED ${ARG_SOURCES})
  target_compile_definitions(${name} PRIVATE ORVU_BUILDING_HOST)
  target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}")
  target_link_libraries(${name} PUBLIC orvu_host PRIVATE orvu_flags ${ARG_LINK})
  set_target_properties(${name} PROPERTIES PREFIX lib)
endfunction()

# orvu_add_test(NAME SOURCES file... [LINK target...] [LABELS label...] [ENVIRONMENT VAR=value...])
# One GoogleTest program; every TEST in it becomes a ctest case "NAME.Suite.Case". The label
# "concurrent" puts a program into the thread-sanitizer lane.
function(orvu_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK;LABELS;ENVIRONMENT" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}")
  # What is tested is built as it ships; the tests themselves need no more than this.
  target_compile_options(${name} PRIVATE -O1)
  target_link_libraries(${name} PRIVATE orvu_flags ${ARG_LINK} GTest::gmock GTest::gtest_main)
  set(properties TIMEOUT 300)
  if(ARG_LABELS)
    list(APPEND properties LABELS "${ARG_LABELS}")
  endif()
  if(ARG_ENVIRONMENT)
    list(APPEND properties ENVIRONMENT "${ARG_ENVIRONMENT}")
  endif()
  gtest_discover_tests(${name}
    TEST_PREFIX "${name}."
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 120
    PROPERTIES ${properties})
  if("concurrent" IN_LIST ARG_LABELS)
    set_property(GLOBAL APPEND PROPERTY ORVU_CONCURRENT_TESTS ${name})
  endif()
endfunction()
