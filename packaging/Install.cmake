# Installed files and their paths, by component.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DOCDIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/clientcompliance)
set(libexec ${CMAKE_INSTALL_LIBEXECDIR}/clientcompliance)
set(CC_PLUGINS lib/nagios/plugins CACHE STRING "Directory for the plugin of monitoring systems")
set(CC_ZSH_COMPLETIONS ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
    "Directory for the completions of zsh")
set(config_directory ${CMAKE_INSTALL_LIBDIR}/cmake/ClientCompliance)

# install_found(<component> <directory> <pattern>...): installs the files of the source tree that
# match a pattern.
function(install_found component directory)
  list(TRANSFORM ARGN PREPEND ${PROJECT_SOURCE_DIR}/ OUTPUT_VARIABLE patterns)
  file(GLOB found CONFIGURE_DEPENDS ${patterns})
  install(FILES ${found} DESTINATION ${directory} COMPONENT ${component})
endfunction()

# install_completions(<component> <command>...): installs the completions of the commands for each
# shell.
function(install_completions component)
  foreach(command ${ARGN})
    install_found(${component} ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
      completions/bash/${command})
    install_found(${component} ${CC_ZSH_COMPLETIONS} completions/zsh/_${command})
    install_found(${component} ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
      completions/fish/${command}.fish)
  endforeach()
endfunction()

# install_page(<page> <name>): installs a page of the documentation under a name. Changes its links
# to the paths of installed files. A link to a manual page or schema becomes its name, and a link to
# a file that is not installed becomes plain text.
function(install_page page name)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${page})
  cmake_path(GET name PARENT_PATH directory)
  file(READ ${PROJECT_SOURCE_DIR}/${page} text)
  if(NOT page MATCHES "/")
    string(REGEX REPLACE "\\]\\(([a-z]+/)" "](../\\1" text "${text}")
    string(REPLACE "](../docs/" "](" text "${text}")
  endif()
  set(words "\\[([^]]*)\\]")
  string(REGEX REPLACE "${words}\\(man/([^).]*)\\.([1-8])\\)" "\\2(\\3)" text "${text}")
  string(REGEX REPLACE "${words}\\([^)]*/([^)/]*\\.schema\\.json)\\)" "\\1 `\\2`" text "${text}")
  string(REPLACE "](../examples/" "](examples/" text "${text}")
  string(REPLACE "](../demo/README.md)" "](stand-in-agent.md)" text "${text}")
  string(REGEX REPLACE "${words}\\(\\.\\./[^)]*\\)" "\\1" text "${text}")
  if(directory)
    string(REPLACE "](stand-in-agent.md)" "](../stand-in-agent.md)" text "${text}")
  endif()
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/pages/${name} "${text}")
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/pages/${name}
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/${directory} COMPONENT documentation)
endfunction()

# tool
install(TARGETS ClientCompliance RUNTIME COMPONENT tool)
install_completions(tool ClientCompliance)
install_found(tool ${CMAKE_INSTALL_MANDIR}/man1 docs/man/ClientCompliance.1)
install_found(tool ${CMAKE_INSTALL_MANDIR}/man5 docs/man/*.5)
install_found(tool ${CMAKE_INSTALL_MANDIR}/man7 docs/man/*.7)

# companions: a component of their own, because the tool does not need them.
if(TARGET compliance-query)
  harden(${companion_programs})
  install(TARGETS ${companion_programs} RUNTIME COMPONENT companions)
  install_completions(companions ${companion_programs})
  install_found(companions ${CMAKE_INSTALL_MANDIR}/man1 docs/man/compliance-*.1)
  install_found(companions ${CMAKE_INSTALL_DATADIR}/clientcompliance companions/schema/*.json)
endif()

# library
install(TARGETS clientcompliance_shared
  LIBRARY COMPONENT library NAMELINK_COMPONENT development)

# development
install(FILES ${PROJECT_SOURCE_DIR}/compliance/Compliance.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/compliance COMPONENT development)
install(FILES ${static_library} DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install_found(development ${CMAKE_INSTALL_MANDIR}/man3 docs/man/*.3)

# The files for pkg-config and CMake have relative paths, so the installation is relocatable. Only
# the prefix /usr is absolute, because pkg-config omits -I and -L for its directories.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(pc_prefix /usr)
else()
  file(RELATIVE_PATH up ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  set(pc_prefix "\${pcfiledir}/${up}")
endif()
set(pc_libdir "\${prefix}")
cmake_path(APPEND pc_libdir ${CMAKE_INSTALL_LIBDIR})
set(pc_includedir "\${prefix}")
cmake_path(APPEND pc_includedir ${CMAKE_INSTALL_INCLUDEDIR})
configure_file(clientcompliance.pc.in clientcompliance.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/clientcompliance.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

configure_package_config_file(ClientComplianceConfig.cmake.in ClientComplianceConfig.cmake
  INSTALL_DESTINATION ${config_directory}
  PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(ClientComplianceConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(
  FILES
    ${CMAKE_CURRENT_BINARY_DIR}/ClientComplianceConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/ClientComplianceConfigVersion.cmake
  DESTINATION ${config_directory} COMPONENT development)

# companions: rules and a dashboard, which need only the metrics of compliance-query.
if(TARGET compliance-query)
  install(
    FILES
      ${PROJECT_SOURCE_DIR}/integrations/prometheus/clientcompliance.rules.yml
      ${PROJECT_SOURCE_DIR}/integrations/prometheus/clientcompliance.dashboard.json
    DESTINATION ${CMAKE_INSTALL_DATADIR}/clientcompliance COMPONENT companions)
endif()

# demo: in libexec and not in PATH. The program of the stand-in has the name of the agent's program,
# and a user who runs it by name expects the agent.
install(TARGETS VeskaClient RUNTIME DESTINATION ${libexec} COMPONENT demo)
install(FILES ${PROJECT_SOURCE_DIR}/demo/demo.scenario
  DESTINATION ${CMAKE_INSTALL_DATADIR}/clientcompliance COMPONENT demo)
install_completions(demo VeskaClient)
install_found(demo ${CMAKE_INSTALL_MANDIR}/man1 docs/man/VeskaClient.1)

# monitoring: a package of its own, because it needs Python.
set(python ${CMAKE_INSTALL_DATADIR}/clientcompliance/python)
set(monitoring ${PROJECT_SOURCE_DIR}/integrations/monitoring)
set(stored_result ${PROJECT_SOURCE_DIR}/integrations/ansible/plugins/module_utils/stored_result.py)
cmake_path(ABSOLUTE_PATH CC_PLUGINS BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE plugins)
cmake_path(ABSOLUTE_PATH python BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE modules)
file(RELATIVE_PATH python_from_plugins ${plugins} ${modules})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${monitoring}/check_compliance)
file(READ ${monitoring}/check_compliance plugin)
string(REPLACE "../ansible/plugins/module_utils" ${python_from_plugins} plugin "${plugin}")
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/check_compliance "${plugin}")
install(PROGRAMS ${CMAKE_CURRENT_BINARY_DIR}/check_compliance
  DESTINATION ${CC_PLUGINS} COMPONENT monitoring)
install(FILES ${stored_result} DESTINATION ${python} COMPONENT monitoring)
install(FILES ${monitoring}/icinga2-compliance.conf RENAME compliance.conf
  DESTINATION ${CMAKE_INSTALL_DATADIR}/icinga2/include/plugins-contrib.d COMPONENT monitoring)
install_completions(monitoring check_compliance)
install_found(monitoring ${CMAKE_INSTALL_MANDIR}/man1 docs/man/check_compliance.1)

# ansible: a package of its own, for the controller.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/integrations/ansible/
  DESTINATION ${CMAKE_INSTALL_DATADIR}/ansible/collections/ansible_collections/clientcompliance/fleet
  COMPONENT ansible PATTERN __pycache__ EXCLUDE)

# systemd: a package of its own, because it creates a user. Units have absolute paths, so they are
# correct only for the configured prefix.
if(TARGET compliance-query)
  set(systemd ${PROJECT_SOURCE_DIR}/integrations/systemd)
  set(program_directory ${CMAKE_INSTALL_FULL_LIBEXECDIR}/clientcompliance)
  file(RELATIVE_PATH query_from_libexec ${program_directory}
    ${CMAKE_INSTALL_FULL_BINDIR}/compliance-query)
  configure_file(${systemd}/compliance-evaluate.in compliance-evaluate @ONLY)
  configure_file(${systemd}/compliance-evaluate@.service.in compliance-evaluate@.service @ONLY)
  install(PROGRAMS ${CMAKE_CURRENT_BINARY_DIR}/compliance-evaluate
    DESTINATION ${libexec} COMPONENT systemd)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/compliance-evaluate@.service
    ${systemd}/compliance-evaluate@.timer DESTINATION lib/systemd/system COMPONENT systemd)
  install(FILES ${systemd}/sysusers.conf RENAME clientcompliance.conf
    DESTINATION lib/sysusers.d COMPONENT systemd)
  install_found(systemd ${CMAKE_INSTALL_MANDIR}/man8 docs/man/*.8)
endif()

# documentation
file(GLOB pages CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/docs
  ${PROJECT_SOURCE_DIR}/docs/[a-z]*.md)
foreach(page ${pages})
  install_page(docs/${page} ${page})
endforeach()
install_page(CHANGELOG.md CHANGELOG.md)
install_page(SECURITY.md SECURITY.md)
install_page(demo/README.md stand-in-agent.md)
install_page(examples/README.md examples/README.md)
install_found(documentation ${CMAKE_INSTALL_DOCDIR} docs/*.svg)
install_found(documentation ${CMAKE_INSTALL_DOCDIR}/diagrams docs/diagrams/*.svg)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation USE_SOURCE_PERMISSIONS
  PATTERN README.md EXCLUDE)
option(CC_SITE "Build and install the documentation site (scripts/setup docs)" OFF)
if(CC_SITE)
  set(site ${CMAKE_CURRENT_BINARY_DIR}/site)
  add_custom_target(site ALL
    COMMAND ${CMAKE_COMMAND} -E env PYTHONDONTWRITEBYTECODE=1 mkdocs --quiet build --site-dir ${site}
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} COMMENT "Building the documentation site" VERBATIM)
  install(DIRECTORY ${site}/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/html COMPONENT documentation)
endif()

# licence: a component of its own, because distributions differ in where they install licences. The
# RPM packages require its package, which also has the changes and the security policy.
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${CMAKE_CURRENT_BINARY_DIR}/pages/CHANGELOG.md
  ${CMAKE_CURRENT_BINARY_DIR}/pages/SECURITY.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT licence)
