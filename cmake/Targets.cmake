# Build options, and functions that define the targets of a folder: a library and a test program.

option(CC_WERROR "Treat warnings as errors" OFF)
set(CC_SANITIZE "" CACHE STRING "Sanitizers to build with, for example address,undefined")
option(CC_COVERAGE "Measure line and branch coverage (g++), for scripts/coverage" OFF)
option(CC_FUZZ "Build the fuzz targets, and everything else with sanitizers (clang)" OFF)
if(CC_FUZZ)
  set(CC_SANITIZE address,undefined,fuzzer-no-link)
endif()

# The warnings for all code of the project. Each target links them privately, so tests can relax
# them.
add_library(project_warnings INTERFACE)
target_compile_options(project_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Woverloaded-virtual -Wimplicit-fallthrough -Wcast-qual
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wduplicated-cond -Wlogical-op>
  $<$<BOOL:${CC_WERROR}>:-Werror>)

if(CC_SANITIZE)
  add_compile_options(-fsanitize=${CC_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
                      -O1 -g1)
  add_link_options(-fsanitize=${CC_SANITIZE})
endif()

# Without optimization, because it merges branches and inlines functions. Without thread-safe
# initialization of static variables, because it has branches that only a second thread can take.
if(CC_COVERAGE)
  add_compile_options(--coverage -O0 -g1 $<$<COMPILE_LANGUAGE:CXX>:-fno-threadsafe-statics>)
  add_link_options(--coverage)
  add_compile_definitions(CC_COVERAGE=1)
  # ctest reads this file, and runs the command before the tests.
  file(WRITE ${PROJECT_BINARY_DIR}/CTestCustom.cmake "set(CTEST_CUSTOM_PRE_TEST [[\"${CMAKE_COMMAND}\" \
-D \"FOLDER=${PROJECT_BINARY_DIR}\" -P \"${CMAKE_CURRENT_LIST_DIR}/CreateCounters.cmake\"]])\n")
endif()

# An instrumented build is dynamically linked, not hardened and not installed.
if(CC_SANITIZE OR CC_COVERAGE)
  set(CC_INSTRUMENTED ON)
else()
  set(CC_INSTRUMENTED OFF)
endif()

include(Hardening)

option(CC_UNITY "Use unity builds, except for the shipped tool and library" ON)

# compile_at_once(<target>): makes the target a unity build, which parses shared headers less often.
# Names in anonymous namespaces of its sources must differ.
function(compile_at_once target)
  if(CC_UNITY)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 24)
  endif()
endfunction()

# add_project_library(<folder> SOURCES <source>... [USES <folder>...])
#
# The root of the repository is the only include directory.
function(add_project_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  add_library(${name} STATIC ${arg_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${arg_USES} PRIVATE $<BUILD_INTERFACE:project_warnings>)
  # Intended narrowing conversions have a cast.
  target_compile_options(${name} PRIVATE -Wconversion -Wno-sign-conversion)
  # Emits inline variables as weak symbols, because the static library cannot hide symbols with
  # GNU's unique binding.
  target_compile_options(${name} PRIVATE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>)
  harden(${name})
  if(CC_SANITIZE)
    compile_at_once(${name})
  endif()
endfunction()

# Optimizing the tests takes a third of the build time. Does not affect the libraries that they test.
option(CC_QUICK_TESTS "Compile the tests without optimization, with a precompiled header" ON)

# compile_unoptimized(<target>): compiles without optimization if CC_QUICK_TESTS or CC_SANITIZE is set.
function(compile_unoptimized target)
  if(CC_QUICK_TESTS OR CC_SANITIZE)
    target_compile_options(${target} PRIVATE -O0)
  endif()
endfunction()

# compile_as_test(<target>): applies CC_QUICK_TESTS and CC_UNITY.
function(compile_as_test target)
  compile_unoptimized(${target})
  compile_at_once(${target})
  # Reports of sanitizers name functions of tests without lines, which saves a tenth of the time.
  if(CC_QUICK_TESTS AND CC_SANITIZE)
    target_compile_options(${target} PRIVATE -g0)
  endif()
  if(CC_QUICK_TESTS)
    target_precompile_headers(${target} REUSE_FROM test_headers)
  endif()
endfunction()

# scripts/test runs 16 tests at once for each processor, because most of them wait for the clock. A
# test that computes instead counts as eight, so it does not delay the others.
set(computing PROCESSORS 8)

# AddressSanitizer keeps 256 MB of freed memory by default. Page faults for it take half of the time
# of some tests.
if(CC_SANITIZE)
  set(sanitizer_options ENVIRONMENT ASAN_OPTIONS=quarantine_size_mb=16)
endif()

# register_cases(<target> <prefix> <label> <filter> [<property> <value>]...): registers the test
# cases of a GoogleTest program that match the filter as tests of ctest with this label.
#
# ctest runs each test case in a process of its own, in parallel. It starts `stress` and then
# `system` test cases first, because they take the longest. With sanitizers, starting a process takes
# longer than most `unit` test cases. So these run in one process, which starts before all others
# because it may take a minute.
function(register_cases target prefix label filter)
  if(CC_SANITIZE AND label STREQUAL unit)
    add_test(NAME ${prefix}unit COMMAND ${target} --gtest_filter=${filter})
    set_tests_properties(${prefix}unit PROPERTIES TIMEOUT 300 LABELS unit COST 3 ${computing}
                         ${sanitizer_options})
    return()
  endif()
  if(label STREQUAL stress)
    set(cost COST 2)
  elseif(label STREQUAL system)
    set(cost COST 1)
  endif()
  gtest_discover_tests(${target} TEST_PREFIX ${prefix} TEST_FILTER ${filter}
                       TEST_LIST ${target}_${label} DISCOVERY_TIMEOUT 300
                       PROPERTIES TIMEOUT 300 LABELS ${label} ${cost} ${ARGN} ${sanitizer_options})
endfunction()

# add_project_tests(<folder> SOURCES <source>... [USES <library>...] [LABEL <label>] [LONG <case>...]
#                   [REPETITIVE])
#
# The label is `unit` (default) or `system`. Test cases that match a pattern of LONG take a second
# or more; they have the label `stress`. REPETITIVE tests have long loops, so with sanitizers they
# are compiled with optimization.
function(add_project_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "REPETITIVE" "LABEL" "SOURCES;USES;LONG")
  if(NOT arg_LABEL)
    set(arg_LABEL unit)
  endif()
  add_executable(${name}_tests ${arg_SOURCES})
  target_link_libraries(${name}_tests PRIVATE ${arg_USES} test_support project_warnings)
  if(CC_SANITIZE AND arg_REPETITIVE)
    compile_at_once(${name}_tests)
  else()
    compile_as_test(${name}_tests)
  endif()
  list(JOIN arg_LONG ":" long)
  register_cases(${name}_tests ${name}/ ${arg_LABEL} "*-${long}")
  if(long)
    register_cases(${name}_tests ${name}/ stress ${long} ${computing})
  endif()
endfunction()
