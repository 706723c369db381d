# Windows looks for DLLs beside the program: all in one folder. The source file is what every program compiles into itself,
# see docs/applications.md.
if(NVLIB_TOOLS)
  install(TARGETS nvtool track_player DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
if(MINGW)
  install(FILES platform/win32/ModuleRuntimeClient.cpp DESTINATION "${CMAKE_INSTALL_DATADIR}/NVLib")
endif()
install(FILES "${NVLIB_PREFIX}/bin/lame_enc.dll" DESTINATION "${CMAKE_INSTALL_BINDIR}" OPTIONAL)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME "nvlib-${PROJECT_VERSION}-win32")
