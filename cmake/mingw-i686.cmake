# 32-bit Windows, cross-built with mingw-w64's compiler in its flavour with POSIX threads.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)

# SSE2 is the floor, also for plain floating point, so that both products round alike. Applications made by other
# compilers call with a stack aligned to four bytes only, hence the realignment.
set(CMAKE_C_FLAGS_INIT "-march=i686 -msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_CXX_FLAGS_INIT "-march=i686 -msse2 -mfpmath=sse -mstackrealign")

# The compiler's own libraries go into each program and DLL, which then need nothing but the system's.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

# Libraries come from the target's own folders and from NVLIB_PREFIX, where scripts/windows.sh puts what Debian does not
# ship for this target; never from the building machine.
set(NVLIB_PREFIX "$ENV{NVLIB_WINDOWS_PREFIX}" CACHE PATH "Third-party parts built for 32-bit Windows")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES NVLIB_PREFIX)
set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32 ${NVLIB_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
