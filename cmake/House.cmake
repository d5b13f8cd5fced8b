# How every folder of the house is built: one library a folder, one test program a folder.

option(CC_WERROR "Treat warnings as errors" OFF)
set(CC_SANITIZE "" CACHE STRING "Sanitizers to build with, for example address,undefined")
option(CC_COVERAGE "Count which lines and branches run (g++), for scripts/coverage" OFF)
option(CC_FUZZ "Build the fuzz targets, and all else as they need it: clang with sanitizers" OFF)
if(CC_FUZZ)
  set(CC_SANITIZE address,undefined,fuzzer-no-link)
endif()

# The flags that all of our own code is compiled with. They are kept out of the interface of the
# libraries, so that a test may relax them without touching the product.
add_library(house_flags INTERFACE)
target_compile_options(house_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Woverloaded-virtual -Wimplicit-fallthrough -Wcast-qual
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wduplicated-cond -Wlogical-op>
  $<$<BOOL:${CC_WERROR}>:-Werror>)

if(CC_SANITIZE)
  add_compile_options(-fsanitize=${CC_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
                      -O1 -g1)
  add_link_options(-fsanitize=${CC_SANITIZE})
endif()

# As it is written: each condition a branch of its own, and no function copied into its callers. The
# guards of static locals would count as branches that only a second thread could take.
if(CC_COVERAGE)
  add_compile_options(--coverage -O0 -g1 $<$<COMPILE_LANGUAGE:CXX>:-fno-threadsafe-statics>)
  add_link_options(--coverage)
  add_compile_definitions(CC_COVERAGE=1)
endif()

# A build that watches itself is not for shipping: it is dynamic, not hardened, and not installed.
if(CC_SANITIZE OR CC_COVERAGE)
  set(CC_WATCHED ON)
else()
  set(CC_WATCHED OFF)
endif()

include(Hardening)

# add_house_library(<folder> SOURCES <source>... [USES <folder>...])
#
# Includes are always written from the root of the repository, so that is the one include directory.
function(add_house_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  add_library(${name} STATIC ${arg_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${arg_USES} PRIVATE $<BUILD_INTERFACE:house_flags>)
  # Narrowing is told apart from meaning only when it is written down.
  target_compile_options(${name} PRIVATE -Wconversion -Wno-sign-conversion)
  # Inline variables as weak symbols like any other: the static library can't hide GNU's unique ones.
  target_compile_options(${name} PRIVATE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>)
  harden(${name})
endfunction()

# What is tested keeps its optimisation in every build; optimising the cases too, and reading the headers
# of their framework for each of them anew, is more than half of the time that all of it takes. An
# ordinary build does so, for the sake of what is inlined into the cases.
option(CC_QUICK_TESTS "Compile the tests without optimising, and their framework's headers once" OFF)

# compile_plainly(<target>)
function(compile_plainly target)
  if(CC_QUICK_TESTS OR CC_SANITIZE)
    target_compile_options(${target} PRIVATE -O0)
  endif()
endfunction()

# compile_as_test(<target>)
function(compile_as_test target)
  compile_plainly(${target})
  if(CC_QUICK_TESTS)
    target_precompile_headers(${target} REUSE_FROM test_headers)
  endif()
endfunction()

# add_house_tests(<folder> SOURCES <source>... [USES <library>...])
#
# Each case is a test of its own for ctest, in a process of its own, so cases run in parallel.
function(add_house_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  add_executable(${name}_tests ${arg_SOURCES})
  target_link_libraries(${name}_tests PRIVATE ${arg_USES} test_support house_flags)
  compile_as_test(${name}_tests)
  gtest_discover_tests(${name}_tests TEST_PREFIX ${name}/ DISCOVERY_TIMEOUT 300
                       PROPERTIES TIMEOUT 300)
endfunction()
