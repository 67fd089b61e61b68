# What `cmake --install` and CPack bring: the library, the headers that a host includes, the program with
# its man page and completion, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/recast)
install(TARGETS recast EXPORT recast LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT recast NAMESPACE recast:: FILE recastTargets.cmake DESTINATION ${package})
if(RECAST_BUILD_PROGRAM)
  install(TARGETS recast_program RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  file(RELATIVE_PATH to_library /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(recast_program PROPERTIES INSTALL_RPATH "$ORIGIN/${to_library}")
  install(FILES ${PROJECT_BINARY_DIR}/host/recast.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${PROJECT_BINARY_DIR}/host/recast.bash RENAME recast
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endif()

# Headers of folders below a component are its own affair.
get_property(components GLOBAL PROPERTY RECAST_COMPONENTS)
foreach(component IN LISTS components)
  get_target_property(folder ${component} SOURCE_DIR)
  string(REPLACE recast_ "" name ${component})
  file(GLOB headers CONFIGURE_DEPENDS ${folder}/*.h)
  install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/recast/${name})
endforeach()

write_basic_package_version_file(${PROJECT_BINARY_DIR}/recastConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/recastConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/recastConfig.cmake
                              INSTALL_DESTINATION ${package})
install(FILES ${PROJECT_BINARY_DIR}/recastConfig.cmake
              ${PROJECT_BINARY_DIR}/recastConfigVersion.cmake DESTINATION ${package})

file(RELATIVE_PATH to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/recast.pc.in ${PROJECT_BINARY_DIR}/recast.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/recast.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME recast)
set(CPACK_PACKAGE_CONTACT "the recast project")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
include(CPack)
