# The two Debian packages, `vannerly-cli` and `vannerly` (target "package"), and the tarball of the
# sources (target "package_source"). What both programs need is in the terminal program's package, on
# which the window's depends.
set(CPACK_PACKAGE_NAME vannerly)
set(CPACK_PACKAGE_VENDOR Brenmoor)
set(CPACK_PACKAGE_CONTACT "Vannerly maintainers <maintainers@brenmoor.example>")
set(CPACK_PACKAGE_HOMEPAGE_URL ${VANNERLY_HOMEPAGE})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME vannerly-${PROJECT_VERSION})
set(CPACK_SOURCE_IGNORE_FILES "/\\.git(/|$)" "/\\.cache/" /__pycache__/)
foreach(folder ${CMAKE_SOURCE_DIR}/build ${CMAKE_BINARY_DIR})
  string(REGEX REPLACE "([][+.*()^$?|\\])" "\\\\\\1" pattern ${folder})
  list(APPEND CPACK_SOURCE_IGNORE_FILES "^${pattern}/")
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_SET_DESTDIR ON)  # what is installed is told the folder that it will lie in
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/folder_rights.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 0brenmoor1)  # any package of Debian's own would be newer
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(debian_version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

set(CPACK_COMPONENTS_ALL cli)
set(CPACK_DEBIAN_CLI_PACKAGE_NAME vannerly-cli)
set(CPACK_DEBIAN_CLI_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_CLI_DESCRIPTION
"move every file below a folder up into it
Vannerly flattens folders: every file that lies anywhere below a folder is
moved up into it, so that all of them end at one level. Names that clash get
a unique name, packages such as photo libraries stay whole, and nothing is
ever overwritten.

This is the program for terminals and scripts.")

if(VANNERLY_DESKTOP)
  list(APPEND CPACK_COMPONENTS_ALL desktop)
  set(CPACK_DEBIAN_DESKTOP_PACKAGE_NAME vannerly)
  set(CPACK_DEBIAN_DESKTOP_PACKAGE_SECTION utils)
  # Qt finds its reader of the icon's format when it runs, where the list of libraries cannot tell.
  set(CPACK_DEBIAN_DESKTOP_PACKAGE_DEPENDS "vannerly-cli (= ${debian_version}), libqt6svg6")
  set(CPACK_DEBIAN_DESKTOP_PACKAGE_RECOMMENDS "qt6-wayland, xdg-utils")
  set(CPACK_DEBIAN_DESKTOP_PACKAGE_SUGGESTS python3-nautilus)
  set(CPACK_DEBIAN_DESKTOP_DESCRIPTION
"flatten the folders that are dropped on a window
Vannerly flattens folders: every file that lies anywhere below a folder is
moved up into it, so that all of them end at one level. Names that clash get
a unique name, packages such as photo libraries stay whole, and nothing is
ever overwritten.

This is the program in a window. Folders are dropped on it, chosen in it, or
sent to it from the menus of file managers.")
endif()

# What Debian wants to find beside every package.
execute_process(COMMAND date --utc --rfc-email --date ${VANNERLY_RELEASE_DATE} COMMAND_ERROR_IS_FATAL ANY
  OUTPUT_VARIABLE VANNERLY_DEBIAN_DATE OUTPUT_STRIP_TRAILING_WHITESPACE)
# The licence's text from its third paragraph on, as the fields of a control file are written.
file(READ LICENSE expat)
string(REGEX REPLACE "^.*\n\n(Permission.*[^\n])\n*$" "\\1" expat "${expat}")
string(REPLACE "\n" "\n " expat " ${expat}")
string(REPLACE "\n \n" "\n .\n" expat "${expat}")
configure_file(cmake/debian/changelog.in debian/changelog @ONLY)
configure_file(cmake/debian/copyright.in debian/copyright @ONLY)
find_program(VANNERLY_GZIP gzip REQUIRED)
set(compressed ${CMAKE_BINARY_DIR}/debian/changelog.Debian.gz ${CMAKE_BINARY_DIR}/debian/changelog.gz)
add_custom_command(OUTPUT ${compressed} VERBATIM
  DEPENDS ${CMAKE_BINARY_DIR}/debian/changelog ${CMAKE_SOURCE_DIR}/CHANGELOG.md
  COMMAND ${VANNERLY_GZIP} --best --no-name --stdout ${CMAKE_BINARY_DIR}/debian/changelog
    > ${CMAKE_BINARY_DIR}/debian/changelog.Debian.gz
  COMMAND ${VANNERLY_GZIP} --best --no-name --stdout ${CMAKE_SOURCE_DIR}/CHANGELOG.md
    > ${CMAKE_BINARY_DIR}/debian/changelog.gz)
add_custom_target(debian_documents ALL DEPENDS ${compressed})
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  install(FILES ${compressed} ${CMAKE_BINARY_DIR}/debian/copyright
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
