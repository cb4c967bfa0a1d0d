# Debian packages: one per component, of one version.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tavroline)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Tavroline authors <authors@tavroline.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Each package's programs are stripped; their debug symbols are in a package of their own.
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_OBJCOPY_EXECUTABLE ${CMAKE_OBJCOPY})
set(this "= ${PROJECT_VERSION}-1")

# debian_package(component name [depends]): the package of a component; its description follows each call.
function(debian_package component name)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${ARGN}" PARENT_SCOPE)
  install(FILES debian/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
  install(FILES ${generated}/changelog.gz ${generated}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
endfunction()

debian_package(library tavroline)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "event and alarm lists for PLC programs
A component of the PLC runtime: programs log events, raise and acknowledge
alarms, and read the device's lists without blocking a task.")
debian_package(development tavroline-dev "tavroline (${this})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "event and alarm lists for PLC programs - headers
The C interface of the component's functions, and what a program of
tavroline-host includes.")
set(CPACK_COMPONENTS_ALL library development)

if(TARGET tavroline-host)
  debian_package(host tavroline-host "tavroline (${this})")
  set(CPACK_COMPONENT_HOST_DESCRIPTION "event and alarm lists for PLC programs - minimal runtime
Loads the component and runs PLC programs on a desk, with a pump station as an
example.")
  list(APPEND CPACK_COMPONENTS_ALL host)
endif()
if(TARGET tavroline-listd)
  debian_package(desk tavroline-desk "tavroline-host (${this}), adduser, dbus-daemon")
  set(CPACK_DEBIAN_DESK_PACKAGE_RECOMMENDS "default-dbus-system-bus | dbus-system-bus")
  set(CPACK_DEBIAN_DESK_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/postinst ${CMAKE_CURRENT_SOURCE_DIR}/debian/prerm
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/postrm)
  set(CPACK_COMPONENT_DESK_DESCRIPTION "event and alarm lists for PLC programs - list services
Stand in for the list services of a controller on a desk, with a tool to look
at the lists and a demonstration.")
  list(APPEND CPACK_COMPONENTS_ALL desk)
endif()

if(CMAKE_CROSSCOMPILING)
  # The tool that finds dependencies knows the packages of the build machine only; the target's are named here.
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
  set(runtime "libc6 (>= 2.36), libgcc-s1, libstdc++6 (>= 12)")
  string(APPEND CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "${runtime}, libqt5core5a (>= 5.15.2), libsystemd0 (>= 252)")
  string(APPEND CPACK_DEBIAN_HOST_PACKAGE_DEPENDS ", ${runtime}")
else()
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()

# CHANGELOG.md has the date of the newest version, after the heading Unreleased.
file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md heading REGEX "^## [0-9]" LIMIT_COUNT 1)
if(NOT heading MATCHES "^## ${PROJECT_VERSION} \\(([0-9-]+)\\)$")
  message(FATAL_ERROR "the newest version of CHANGELOG.md is \"${heading}\", not ${PROJECT_VERSION} and its date")
endif()
execute_process(COMMAND date -u -R -d ${CMAKE_MATCH_1} OUTPUT_VARIABLE released OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)
configure_file(debian/changelog.in changelog.Debian @ONLY)
add_custom_command(OUTPUT changelog.gz changelog.Debian.gz
  DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${generated}/changelog.Debian
  COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/CHANGELOG.md > changelog.gz
  COMMAND gzip -9nc ${generated}/changelog.Debian > changelog.Debian.gz)
add_custom_target(changelogs ALL DEPENDS changelog.gz)
add_dependencies(packaged changelogs)

include(CPack)
