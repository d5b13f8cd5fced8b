# How what we ship is compiled and linked: hardened, small, and the same bytes wherever the source
# stands. scripts/check-hardening proves the first of the files.
#
# Sanitizers have their own checks in the same places, so a build with them is not hardened, nor is
# one that counts what runs.
option(CC_HARDENING "Harden the tool and the libraries" ON)

include(CheckLinkerFlag)
# Most relocations of a position independent program in a hundredth of the room.
check_linker_flag(CXX LINKER:-z,pack-relative-relocs CC_LINKER_PACKS_RELOCATIONS)

# Unused functions are left out when a program is linked, those of the static C and C++ libraries
# too: that is a fifth of the tool. No path of the machine that builds gets into a file.
set(shipped_compile_options
  -ffunction-sections -fdata-sections
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
set(shipped_link_options LINKER:--gc-sections)

if(CC_HARDENING)
  # The C library's checks need an optimising compiler, and say so aloud without one.
  set(fortify -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  list(APPEND shipped_compile_options
    -fstack-protector-strong
    -fcf-protection
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${fortify}>")
  list(APPEND shipped_link_options LINKER:-z,relro,-z,now,-z,noexecstack)
endif()

# harden(<target>...): libraries and programs that ship.
function(harden)
  if(CC_WATCHED)
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
