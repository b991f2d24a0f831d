# Installation: the library with its SONAME, the headers, a CMake package
# (find_package(tovak) gives tovak::tovak), a pkg-config file, the tovak
# and tovak-server programs, and the documentation (share/doc/tovak).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS tovak EXPORT tovakTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/tovak
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(tovak_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tovak)
install(EXPORT tovakTargets NAMESPACE tovak:: DESTINATION ${tovak_cmake_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/tovakConfig.cmake.in
  ${PROJECT_BINARY_DIR}/tovakConfig.cmake INSTALL_DESTINATION ${tovak_cmake_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tovakConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tovakConfig.cmake
              ${PROJECT_BINARY_DIR}/tovakConfigVersion.cmake
  DESTINATION ${tovak_cmake_dir})

# The .pc file finds the prefix relative to itself, so the tree can move.
file(RELATIVE_PATH TOVAK_PC_PREFIX_FROM_PCDIR
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/tovak.pc.in ${PROJECT_BINARY_DIR}/tovak.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tovak.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

foreach(program tovak_cli tovak-server)
  set_target_properties(${program} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endforeach()

install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}
  FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
