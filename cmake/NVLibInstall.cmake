# What 'cmake --install' puts where, what find_package(NVLib) finds there, and the packages that CPack makes of it.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
# Where nvtool and the encoder's module lie, and what kind of package this system has.
include(platform/${NVLIB_PLATFORM}/Install.cmake)

set(nvlib_headers "${CMAKE_INSTALL_INCLUDEDIR}/NVLib")
install(DIRECTORY include/ platform/${NVLIB_PLATFORM}/include/ DESTINATION "${nvlib_headers}"
  FILES_MATCHING PATTERN "*.h")
install(FILES platform/include/OwnedMutex.h platform/include/ScopedLock.h platform/include/ThreadSafety.h
  DESTINATION "${nvlib_headers}")
if(NVLIB_BUNDLED_MFC)
  install(DIRECTORY afx/include/ DESTINATION "${nvlib_headers}" FILES_MATCHING PATTERN "*.h")
endif()

install(TARGETS NVLib EXPORT NVLibTargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
set(nvlib_config "${CMAKE_INSTALL_LIBDIR}/cmake/NVLib")
install(EXPORT NVLibTargets NAMESPACE NVLib:: DESTINATION "${nvlib_config}")
configure_package_config_file(cmake/NVLibConfig.cmake.in "${CMAKE_BINARY_DIR}/NVLibConfig.cmake"
  INSTALL_DESTINATION "${nvlib_config}")
write_basic_package_version_file("${CMAKE_BINARY_DIR}/NVLibConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_BINARY_DIR}/NVLibConfig.cmake" "${CMAKE_BINARY_DIR}/NVLibConfigVersion.cmake"
  DESTINATION "${nvlib_config}")

install(FILES README.md CHANGELOG.md docs/applications.md docs/formats.md DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(FILES samples/track_player.cpp samples/package/CMakeLists.txt DESTINATION "${CMAKE_INSTALL_DOCDIR}/sample")

set(CPACK_PACKAGE_NAME nvlib)
set(CPACK_PACKAGE_VENDOR NVLib)
set(CPACK_PACKAGE_CONTACT "NVLib developers <nvlib@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_STRIP_FILES ON)
set(CPACK_MONOLITHIC_INSTALL ON)
include(CPack)
