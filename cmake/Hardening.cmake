# Compiler and linker options of the shipped files: hardening, size, and reproducible builds in any
# directory. scripts/check-hardening verifies the hardening of the installed files.
#
# Builds with sanitizers or coverage are not hardened, because they are not shipped.
option(CC_HARDENING "Harden the shipped programs and libraries" ON)

include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
# DT_RELR: stores most relocations of a position-independent executable in a hundredth of the space.
check_linker_flag(CXX LINKER:-z,pack-relative-relocs CC_LINKER_PACKS_RELOCATIONS)

# Section garbage collection removes unused functions, including those of the static C and C++
# libraries: a sixth of the tool. -ffile-prefix-map removes paths of the build machine.
set(shipped_compile_options
  -ffunction-sections -fdata-sections
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
set(shipped_link_options LINKER:--gc-sections)

# Level 3 of _FORTIFY_SOURCE also checks objects whose size is known only at run time. It requires
# support of the compiler; otherwise the C library falls back to level 2 with a warning.
set(CMAKE_REQUIRED_FLAGS "-O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
check_cxx_source_compiles("
  #include <cstdio>
  #if __USE_FORTIFY_LEVEL < 3
  #error falls back
  #endif
  int main() {}" CC_FORTIFY_LEVEL_3)
unset(CMAKE_REQUIRED_FLAGS)
set(fortify_level 2)
if(CC_FORTIFY_LEVEL_3)
  set(fortify_level 3)
endif()

if(CC_HARDENING)
  # _FORTIFY_SOURCE requires optimization; without it, the C library warns.
  set(fortify -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortify_level})
  list(APPEND shipped_compile_options
    # Checks preconditions of the C++ library, such as the range of an index. Adds 1.1 % to the
    # instructions of the XML writer; no measurable cost elsewhere (scripts/gates).
    -D_GLIBCXX_ASSERTIONS
    -fstack-protector-strong
    # A program may call the library in a thread with a small stack. A frame larger than the guard
    # page touches each of its pages, so it cannot skip the guard page.
    -fstack-clash-protection
    -fcf-protection
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${fortify}>")
  list(APPEND shipped_link_options LINKER:-z,relro,-z,now,-z,noexecstack)
endif()

# harden(<target>...): applies these options to libraries and programs. Has no effect in builds with
# sanitizers or coverage.
function(harden)
  if(CC_INSTRUMENTED)
    return()
  endif()
  foreach(name ${ARGN})
    target_compile_options(${name} PRIVATE ${shipped_compile_options})
    get_target_property(type ${name} TYPE)
    if(NOT type STREQUAL STATIC_LIBRARY)
      target_link_options(${name} PRIVATE ${shipped_link_options})
    endif()
  endforeach()
endfunction()
