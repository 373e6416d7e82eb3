# cmake --install: the utility and the tools, the library, its public headers under include/tsh, a
# CMake package, a pkg-config file and the man pages.
include(CMakePackageConfigHelpers)

install(TARGETS ocmd_gen ocmd_link ocmd_show RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS tsh EXPORT tshTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})

foreach(room platform feature/tsh/src bmask parse_tree atnode param_reg treelink cmd_gen)
  file(GLOB headers CONFIGURE_DEPENDS ${room}/*.h)
  list(FILTER headers EXCLUDE REGEX "_internal\\.h$")
  install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tsh/${room})
endforeach()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tsh)
install(EXPORT tshTargets NAMESPACE tsh:: FILE tshConfig.cmake DESTINATION ${package_dir})
write_basic_package_version_file(tshConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tshConfigVersion.cmake DESTINATION ${package_dir})

file(RELATIVE_PATH TSH_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/tsh.pc.in tsh.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tsh.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

file(GLOB man_pages CONFIGURE_DEPENDS doc/man/*.1)
install(FILES ${man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
