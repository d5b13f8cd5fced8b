# How what we ship is compiled and linked: hardened, small, and the same bytes wherever the source
# stands. scripts/check-hardening proves the first of the files.
#
# Sanitizers have their own checks in the same places, so a build with them is not hardened, nor is
# one that counts what runs.
option(CC_HARDENING "Harden the tool and the libraries" ON)

include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
# Most relocations of a position independent program in a hundredth of the room.
check_linker_flag(CXX LINKER:-z,pack-relative-relocs CC_LINKER_PACKS_RELOCATIONS)

# Unused functions are left out when a program is linked, those of the static C and C++ libraries
# too: that is a fifth of the tool. No path of the machine that builds gets into a file.
set(shipped_compile_options
  -ffunction-sections -fdata-sections
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
set(shipped_link_options LINKER:--gc-sections)

# Level 3 checks objects whose size is known at run time only, too. Compiler and C library must both
# support it; otherwise the C library falls back to level 2 with a warning.
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
  # The C library's checks need an optimising compiler, and warn without one.
  set(fortify -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortify_level})
  list(APPEND shipped_compile_options
    # Preconditions of the C++ library, such as an index within its vector. Costs 1.1 % of the
    # instructions of the XML writer and nothing that can be measured elsewhere (scripts/gates).
    -D_GLIBCXX_ASSERTIONS
    -fstack-protector-strong
    # A host may run the library in a thread with a small stack. A frame larger than the guard page
    # below the stack touches each page on its way, so it cannot reach the memory behind the guard.
    -fstack-clash-protection
    -fcf-protection
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${fortify}>")
  list(APPEND shipped_link_options LINKER:-z,relro,-z,now,-z,noexecstack)
endif()

# harden(<target>...): libraries and programs that ship.
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
