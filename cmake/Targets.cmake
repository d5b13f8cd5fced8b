# The targets of a folder: one library and one test program. The build options.

option(CC_WERROR "Treat warnings as errors" OFF)
set(CC_SANITIZE "" CACHE STRING "Sanitizers to build with, for example address,undefined")
option(CC_COVERAGE "Count which lines and branches run (g++), for scripts/coverage" OFF)
option(CC_FUZZ "Build the fuzz targets, and all else as they need it: clang with sanitizers" OFF)
if(CC_FUZZ)
  set(CC_SANITIZE address,undefined,fuzzer-no-link)
endif()

# The warnings for all code of the project. They are not in the interface of the libraries, so a test
# can relax them.
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

# Without optimization: each condition is a branch of its own, and no function is inlined. The guards
# of static locals would count as branches that only a second thread could take.
if(CC_COVERAGE)
  add_compile_options(--coverage -O0 -g1 $<$<COMPILE_LANGUAGE:CXX>:-fno-threadsafe-statics>)
  add_link_options(--coverage)
  add_compile_definitions(CC_COVERAGE=1)
endif()

# An instrumented build is not for shipping: it is dynamic, not hardened, and not installed.
if(CC_SANITIZE OR CC_COVERAGE)
  set(CC_INSTRUMENTED ON)
else()
  set(CC_INSTRUMENTED OFF)
endif()

include(Hardening)

option(CC_UNITY "Compile several sources at once, except those of the shipped tool and library" ON)

# compile_at_once(<target>): several sources are one translation unit, so that what they share is
# compiled once. Their names in anonymous namespaces must differ.
function(compile_at_once target)
  if(CC_UNITY)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
  endif()
endfunction()

# add_project_library(<folder> SOURCES <source>... [USES <folder>...])
#
# Includes are always written from the root of the repository, so that is the one include directory.
function(add_project_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  add_library(${name} STATIC ${arg_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${arg_USES} PRIVATE $<BUILD_INTERFACE:project_warnings>)
  # Intended narrowing has a cast.
  target_compile_options(${name} PRIVATE -Wconversion -Wno-sign-conversion)
  # Inline variables as weak symbols like any other: the static library can't hide GNU's unique ones.
  target_compile_options(${name} PRIVATE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>)
  harden(${name})
  if(CC_SANITIZE)
    compile_at_once(${name})
  endif()
endfunction()

# Optimizing the tests takes a third of the build time. The product is optimized in either case.
option(CC_QUICK_TESTS "Compile the tests without optimization, with a precompiled header" ON)

# compile_plainly(<target>)
function(compile_plainly target)
  if(CC_QUICK_TESTS OR CC_SANITIZE)
    target_compile_options(${target} PRIVATE -O0)
  endif()
endfunction()

# compile_as_test(<target>)
function(compile_as_test target)
  compile_plainly(${target})
  compile_at_once(${target})
  if(CC_QUICK_TESTS)
    target_precompile_headers(${target} REUSE_FROM test_headers)
  endif()
endfunction()

# register_cases(<target> <prefix> <label> <filter>): the cases of a program of GoogleTest that match
# the filter, each as a test of ctest with this label.
#
# ctest runs each case in a process of its own, so cases run in parallel, those that wait for a clock
# first. With sanitizers the start of a process costs more than most cases of `unit`, so these run in
# one process.
function(register_cases target prefix label filter)
  if(CC_SANITIZE AND label STREQUAL unit)
    add_test(NAME ${prefix}unit COMMAND ${target} --gtest_filter=${filter})
    set_tests_properties(${prefix}unit PROPERTIES TIMEOUT 300 LABELS unit)
    return()
  endif()
  if(label STREQUAL stress)
    set(cost COST 2)
  elseif(label STREQUAL system)
    set(cost COST 1)
  endif()
  gtest_discover_tests(${target} TEST_PREFIX ${prefix} TEST_FILTER ${filter}
                       TEST_LIST ${target}_${label} DISCOVERY_TIMEOUT 300
                       PROPERTIES TIMEOUT 300 LABELS ${label} ${cost})
endfunction()

# add_project_tests(<folder> SOURCES <source>... [USES <library>...] [LABEL <label>] [LONG <case>...]
#                   [REPETITIVE])
#
# The label is `unit` or `system`, by default `unit`. The cases that match a pattern of LONG take a
# second or more, and get the label `stress`. REPETITIVE tests do something a million times: under
# sanitizers that takes longer than to optimize them.
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
    register_cases(${name}_tests ${name}/ stress ${long})
  endif()
endfunction()
