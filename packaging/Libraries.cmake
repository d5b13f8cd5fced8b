# libclientcompliance, shared and static, with the interface of compliance/Compliance.h. Both
# contain the code of the folders that compliance/ uses, but export no names of that code.
set(exports ${CMAKE_CURRENT_SOURCE_DIR}/exports.txt)
set(version_script ${CMAKE_CURRENT_SOURCE_DIR}/libclientcompliance.map)

add_library(clientcompliance_shared SHARED $<TARGET_OBJECTS:compliance>)
target_link_libraries(clientcompliance_shared PRIVATE xml files)
harden(clientcompliance_shared)
target_link_options(clientcompliance_shared PRIVATE
  LINKER:--version-script=${version_script}
  LINKER:-z,defs
  LINKER:--as-needed
  LINKER:-Bsymbolic-functions
  $<$<CONFIG:Release,MinSizeRel>:-s>)
set_target_properties(clientcompliance_shared PROPERTIES
  OUTPUT_NAME clientcompliance
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR}
  LINKER_LANGUAGE CXX
  LINK_DEPENDS ${version_script})

# Links one relocatable object in which only the exported names are global, because a program
# may define its own Buffer or FileName. The COMDAT groups of templates and inline functions are
# removed first. A linker identifies groups by name, even if the name is local. It would discard
# either the copy of the library or that of the program.
find_program(CC_GNU_LINKER NAMES ld.bfd ld DOC "The linker that joins the static library" REQUIRED)
set(static_library ${CMAKE_CURRENT_BINARY_DIR}/libclientcompliance.a)
set(folders compliance xml files strings unicode data simd)
list(TRANSFORM folders REPLACE "(.+)" "$<TARGET_FILE:\\1>" OUTPUT_VARIABLE archives)
file(STRINGS ${exports} exported_names)
list(TRANSFORM exported_names PREPEND "--undefined=" OUTPUT_VARIABLE wanted)
add_custom_command(
  OUTPUT ${static_library}
  COMMAND ${CC_GNU_LINKER} -r --force-group-allocation ${wanted} -o clientcompliance.o
          --start-group ${archives} --end-group
  COMMAND ${CMAKE_OBJCOPY} --keep-global-symbols=${exports} clientcompliance.o
  COMMAND ${CMAKE_COMMAND} -E rm -f ${static_library}
  # D: no times, owners or modes in the archive.
  COMMAND ${CMAKE_AR} rcsD ${static_library} clientcompliance.o
  DEPENDS ${folders} ${archives} ${exports}
  COMMENT "Linking static library libclientcompliance.a"
  VERBATIM)
add_custom_target(clientcompliance_static ALL DEPENDS ${static_library})
