# cmake --install, in three components that become three packages: the library (runtime); its public
# headers under include/tsh, a CMake package, a pkg-config file and the example that uses them
# (development); the programs with their man pages, completion, schema and examples (tools).
include(CMakePackageConfigHelpers)
set(examples_dir ${CMAKE_INSTALL_DOCDIR}/examples)

install(TARGETS tsh EXPORT tshTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
get_property(components GLOBAL PROPERTY TSH_PUBLIC_COMPONENTS)
foreach(component ${components})
  tsh_public_headers(headers ${component})
  install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tsh/${component})
endforeach()

install(DIRECTORY ${TSH_HEADER_DIR}/tsh DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tsh)
install(EXPORT tshTargets NAMESPACE tsh:: FILE tshConfig.cmake DESTINATION ${package_dir})
write_basic_package_version_file(tshConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tshConfigVersion.cmake DESTINATION ${package_dir})

file(RELATIVE_PATH TSH_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/tsh.pc.in tsh.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tsh.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES examples/resolve.c DESTINATION ${examples_dir})

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tools)
install(TARGETS ${TSH_PROGRAMS} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
file(GLOB man_pages CONFIGURE_DEPENDS doc/man/*.1)
install(FILES ${man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(DIRECTORY share/ DESTINATION ${CMAKE_INSTALL_DATADIR} OPTIONAL)
set(completions ${PROJECT_BINARY_DIR}/completions)
file(MAKE_DIRECTORY ${completions})
foreach(program ${TSH_PROGRAMS}) # bash searches for the name of the program; one file is for all
  file(CREATE_LINK ocmd ${completions}/${program} SYMBOLIC)
  install(FILES ${completions}/${program}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endforeach()
install(FILES doc/grammar.md doc/files.md doc/json.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY examples/switch DESTINATION ${examples_dir} USE_SOURCE_PERMISSIONS)
