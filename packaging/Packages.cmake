# RPM packages of the components, by CPack. `scripts/package rpm` builds them. debian/ has the
# Debian packages.
set(CPACK_GENERATOR RPM)
set(CPACK_PACKAGE_NAME clientcompliance)
set(CPACK_PACKAGE_VENDOR "The ClientCompliance authors")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_COMPONENTS_ALL tool library development demo monitoring ansible documentation licence)
if(TARGET compliance-query)
  list(APPEND CPACK_COMPONENTS_ALL companions systemd)
endif()

set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_MAIN_COMPONENT tool)
# With SOURCE_DATE_EPOCH, the packages are reproducible.
set(CPACK_RPM_SPEC_MORE_DEFINE "%define _build_id_links none
%global use_source_date_epoch_as_buildtime 1
%global clamp_mtime_to_source_date_epoch 1
%global _buildhost localhost")
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_LICENSE MIT)
set(CPACK_RPM_PACKAGE_RELEASE 1)
# Directories that packages of the distribution own.
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
  /usr/share/man /usr/share/man/man1 /usr/share/man/man3 /usr/share/man/man5 /usr/share/man/man7
  /usr/share/man/man8 /usr/lib/systemd /usr/lib/systemd/system /usr/lib/sysusers.d
  /usr/lib64/nagios /usr/lib64/nagios/plugins
  /usr/share/ansible /usr/share/ansible/collections
  /usr/share/ansible/collections/ansible_collections
  /usr/share/icinga2 /usr/share/icinga2/include /usr/share/icinga2/include/plugins-contrib.d
  /usr/libexec /usr/lib64/pkgconfig /usr/lib64/cmake
  /usr/share/bash-completion /usr/share/bash-completion/completions
  /usr/share/zsh /usr/share/zsh/site-functions
  /usr/share/fish /usr/share/fish/vendor_completions.d)

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/debian/control)
file(READ ${PROJECT_SOURCE_DIR}/debian/control control)

# describe_like_debian(<package> <variable>): sets the variable to the long description of the
# Debian package.
function(describe_like_debian package variable)
  string(FIND "${control}" "\nPackage: ${package}\n" begin)
  string(SUBSTRING "${control}" ${begin} -1 text)
  string(FIND "${text}" "\nDescription: " begin)
  string(SUBSTRING "${text}" ${begin} -1 text)
  string(REGEX REPLACE "^\nDescription: [^\n]*\n" "\n" text "${text}")
  string(FIND "${text}\n\n" "\n\n" end)
  string(SUBSTRING "${text}" 0 ${end} text)
  string(REPLACE "\n " "\n" text "${text}")
  string(REPLACE "\n.\n" "\n\n" text "${text}")
  string(STRIP "${text}" text)
  set(${variable} "${text}" PARENT_SCOPE)
endfunction()

# rpm_package(<component> <package> <summary> [<requirements>]): sets the variables of CPack for the
# package of a component.
function(rpm_package component package summary)
  string(TOUPPER ${component} name)
  string(REGEX REPLACE "-devel$" "-dev" debian_package ${package})
  if(component STREQUAL licence)
    set(description "The licence of the other packages, the changes of each version, and the
security policy.")
  else()
    describe_like_debian(${debian_package} description)
  endif()
  set(CPACK_RPM_${name}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_RPM_${name}_PACKAGE_SUMMARY ${summary} PARENT_SCOPE)
  set(CPACK_RPM_${name}_PACKAGE_DESCRIPTION "${description}" PARENT_SCOPE)
  set(CPACK_RPM_${name}_PACKAGE_REQUIRES "${ARGN}" PARENT_SCOPE)
endfunction()

set(same_version "= ${PROJECT_VERSION}-${CPACK_RPM_PACKAGE_RELEASE}")
# CPack has no variable for "Recommends", so the tag follows on a line of its own.
rpm_package(tool clientcompliance "Compliance evaluations from the command line"
  "clientcompliance-license ${same_version}\nRecommends: clientcompliance-companions")
rpm_package(companions clientcompliance-companions "Compliance evaluations for scripts and people"
  "clientcompliance-license ${same_version}")
rpm_package(library libclientcompliance1 "Compliance evaluations, the shared library"
  "clientcompliance-license ${same_version}")
rpm_package(development libclientcompliance-devel "Compliance evaluations, files for development"
  "libclientcompliance1 ${same_version}")
rpm_package(demo clientcompliance-demo "A stand-in for the endpoint agent"
  "clientcompliance-license ${same_version}")
rpm_package(monitoring clientcompliance-monitoring "A check of compliance for monitoring systems"
  "clientcompliance-license ${same_version}, python3, python3-nagiosplugin\nRecommends: clientcompliance-companions")
rpm_package(ansible clientcompliance-ansible "Compliance evaluations on many hosts by Ansible"
  "clientcompliance-license ${same_version}, ansible-core >= 2.14")
# The triggers of systemd, and RPM itself since 4.19, create the user.
rpm_package(systemd clientcompliance-systemd "Compliance evaluations every night by systemd"
  "clientcompliance-license ${same_version}, clientcompliance-companions ${same_version}, systemd")
set(CPACK_RPM_SYSTEMD_PRE_UNINSTALL_SCRIPT_FILE
  ${PROJECT_SOURCE_DIR}/debian/clientcompliance-systemd.prerm)
rpm_package(documentation clientcompliance-doc "Documentation of compliance evaluations"
  "clientcompliance-license ${same_version}")
rpm_package(licence clientcompliance-license "The licence of ClientCompliance")
set(CPACK_RPM_MONITORING_PACKAGE_ARCHITECTURE noarch)
set(CPACK_RPM_ANSIBLE_PACKAGE_ARCHITECTURE noarch)
set(CPACK_RPM_SYSTEMD_PACKAGE_ARCHITECTURE noarch)
set(CPACK_RPM_DOCUMENTATION_PACKAGE_ARCHITECTURE noarch)
set(CPACK_RPM_LICENCE_PACKAGE_ARCHITECTURE noarch)
include(CPack)
