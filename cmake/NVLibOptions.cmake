# Warning and sanitiser options of everything that is built here, as one interface target.
add_library(NVLibOptions INTERFACE)
if(MSVC)
  target_compile_options(NVLibOptions INTERFACE /W4 /WX /permissive- /Zc:__cplusplus)
else()
  target_compile_options(NVLibOptions INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 sees overlapping copies inside std::string's own operator+ (its bug 105329).
  target_compile_options(NVLibOptions INTERFACE -Wno-restrict)
endif()
if(NVLIB_UNITY AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # It takes each file but the first for a header, which others would include, too.
  target_compile_options(NVLibOptions INTERFACE -Wno-subobject-linkage)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(NVLibOptions INTERFACE -Wthread-safety)
endif()
if(NVLIB_SANITIZE)
  # Little optimisation: the checks cost more than it saves, and compiling takes half as long. For everything from here on,
  # and in front of a target's own options, so that these can take some of it back.
  add_compile_options(-fsanitize=${NVLIB_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC loses track of what is initialised among the checks it inserts, in the standard library first of all.
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
  add_link_options(-fsanitize=${NVLIB_SANITIZE})
endif()
if(NVLIB_COVERAGE)
  # Atomic counters: threads would lose counts, and worse, a counter torn in two shows what never was. Inlined bodies are
  # left where their own lines are.
  target_compile_options(NVLibOptions INTERFACE --coverage -fprofile-update=atomic -fno-inline -O1 -g1
    -Wno-maybe-uninitialized)
  target_link_options(NVLibOptions INTERFACE --coverage)
endif()

# nvlib_check_lightly(TARGET): for the users of the library, of which there is more to compile and less to run. They are not
# optimised, their accesses to memory are checked by calls, and null pointers by what the system says of them: that takes half
# the time to compile.
function(nvlib_check_lightly target)
  if(NVLIB_SANITIZE MATCHES "address" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE -O0 --param=asan-instrumentation-with-call-threshold=0 -fno-sanitize=null)
  endif()
endfunction()

# nvlib_optimise_checks(SOURCE...): files of such a target that go over bytes one by one.
function(nvlib_optimise_checks)
  if(NVLIB_SANITIZE MATCHES "address" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set_source_files_properties(${ARGN} PROPERTIES SKIP_PRECOMPILE_HEADERS ON
      COMPILE_OPTIONS "-O2;--param=asan-instrumentation-with-call-threshold=7000")
  endif()
endfunction()

# nvlib_compile_for_avx2(SOURCE...): files that hold nothing but the AVX2 body of a kernel.
function(nvlib_compile_for_avx2)
  if(MSVC)
    set_source_files_properties(${ARGN} TARGET_DIRECTORY NVLibObjects PROPERTIES COMPILE_OPTIONS "/arch:AVX2")
  else()
    set_source_files_properties(${ARGN} TARGET_DIRECTORY NVLibObjects PROPERTIES COMPILE_OPTIONS "-mavx2")
  endif()
endfunction()
