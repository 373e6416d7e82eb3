# cpack: Debian packages of the installed components.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The ocmd_gen developers <ocmd_gen@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian_files.cmake)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64 AND CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386) # default: the host's architecture
endif()

file(WRITE ${PROJECT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/triggers)

# tsh_debian_package(COMPONENT NAME SECTION SUMMARY PARAGRAPH)
macro(tsh_debian_package component name section summary paragraph)
  set(CPACK_DEBIAN_${component}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${component}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${component}_DESCRIPTION "${summary}\n${paragraph}")
endmacro()
tsh_debian_package(RUNTIME libtsh${PROJECT_VERSION_MAJOR} libs "command parse trees of a device shell"
"libtsh loads, navigates, resolves, writes and links the parse trees in
which the shell of a network device keeps its command grammar. Programs
that use it need this package.")
tsh_debian_package(DEVELOPMENT libtsh-dev libdevel "command parse trees - development files"
"The C headers of libtsh, a CMake package, a pkg-config file and an
example. libtsh loads, navigates, resolves, writes and links the parse
trees of a device shell.")
tsh_debian_package(TOOLS ocmd-gen utils "tools for the command grammars of a device shell"
"These programs compile grammars from YAML, link them into one tree,
list and show its commands, compare two trees, check command lines and
saved configurations, and try a grammar in a shell.")
include(CPack)
