# NVLib.dll as a file of Windows: its name, its version resource and, with mingw-w64, how it shares exceptions with the
# programs that use it.
enable_language(RC)
set_target_properties(NVLib PROPERTIES PREFIX "")
configure_file(${CMAKE_CURRENT_LIST_DIR}/NVLib.rc.in ${CMAKE_BINARY_DIR}/NVLib.rc @ONLY)
target_sources(NVLib PRIVATE ${CMAKE_BINARY_DIR}/NVLib.rc)

if(MINGW)
  # See NVModuleRuntime.h.
  target_compile_definitions(NVLib PRIVATE NVLIB_BUILDING)
  target_sources(NVLib
    PRIVATE ${CMAKE_CURRENT_LIST_DIR}/ModuleRuntime.cpp
    INTERFACE $<BUILD_INTERFACE:${CMAKE_CURRENT_LIST_DIR}/ModuleRuntimeClient.cpp>
      $<INSTALL_INTERFACE:$<INSTALL_PREFIX>/share/NVLib/ModuleRuntimeClient.cpp>)
  target_compile_definitions(NVLib INTERFACE _WIN32_WINNT=0x0601 WIN32_LEAN_AND_MEAN NOMINMAX)
  target_link_options(NVLib
    PRIVATE "LINKER:--wrap=_Unwind_Find_FDE"
    INTERFACE $<INSTALL_INTERFACE:-static> "LINKER:--wrap=_Unwind_Find_FDE"
      "LINKER:--wrap=__cxa_get_globals,--wrap=__cxa_get_globals_fast"
      "LINKER:--wrap=__cxa_allocate_exception,--wrap=__cxa_free_exception")
endif()
