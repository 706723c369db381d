# The library looks for the encoder's module beside the program, and modules do not belong among the programs that
# everybody calls: nvtool lies with it in a folder of its own, and a link leads there.
set(nvlib_programs "${CMAKE_INSTALL_LIBDIR}/nvlib")
if(NVLIB_TOOLS)
  set_target_properties(nvtool PROPERTIES INSTALL_RPATH "$ORIGIN/..")
  install(TARGETS nvtool lame_enc DESTINATION "${nvlib_programs}")
  file(RELATIVE_PATH nvlib_link "/${CMAKE_INSTALL_BINDIR}" "/${nvlib_programs}/nvtool")
  file(CREATE_LINK "${nvlib_link}" "${CMAKE_BINARY_DIR}/nvtool-link" SYMBOLIC)
  install(FILES "${CMAKE_BINARY_DIR}/nvtool-link" DESTINATION "${CMAKE_INSTALL_BINDIR}" RENAME nvtool)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON) # what the programs are linked with
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_BINARY_DIR}")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libx11-6, ffmpeg") # windows on a screen, and every other kind of sound
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
