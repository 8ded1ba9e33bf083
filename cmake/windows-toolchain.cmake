# Cross-compiles for 64-bit Windows with MinGW-w64. The binaries need no compiler DLLs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(VELK_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${VELK_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${VELK_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${VELK_TRIPLE}-windres)

# The prefix that contains libcurl, liboauth, OpenSSL and GoogleTest. It comes from -DVELK_WINDOWS_DEPS, from the
# environment, or from the cache of scripts/windows-deps. The environment variable passes it on to the
# projects of try_compile.
if(NOT VELK_WINDOWS_DEPS)
  if("$ENV{VELK_WINDOWS_DEPS}" STREQUAL "")
    execute_process(
      COMMAND "${CMAKE_CURRENT_LIST_DIR}/../scripts/windows-deps"
      OUTPUT_VARIABLE VELK_WINDOWS_DEPS OUTPUT_STRIP_TRAILING_WHITESPACE
      RESULT_VARIABLE VELK_WINDOWS_DEPS_RESULT)
    if(NOT VELK_WINDOWS_DEPS_RESULT EQUAL 0)
      message(FATAL_ERROR "scripts/windows-deps failed")
    endif()
    set(ENV{VELK_WINDOWS_DEPS} "${VELK_WINDOWS_DEPS}")
  endif()
  set(VELK_WINDOWS_DEPS "$ENV{VELK_WINDOWS_DEPS}")
endif()

# After a change of prefix, what was found in the previous prefix is stale.
if(DEFINED CACHE{VELK_WINDOWS_DEPS_USED} AND NOT VELK_WINDOWS_DEPS STREQUAL VELK_WINDOWS_DEPS_USED)
  get_cmake_property(cached CACHE_VARIABLES)
  list(FILTER cached EXCLUDE REGEX "^VELK_WINDOWS_DEPS")
  foreach(name IN LISTS cached)
    string(FIND "$CACHE{${name}}" "${VELK_WINDOWS_DEPS_USED}" position)
    if(position EQUAL 0)
      unset(${name} CACHE)
    endif()
  endforeach()
endif()
set(VELK_WINDOWS_DEPS_USED "${VELK_WINDOWS_DEPS}" CACHE INTERNAL "")

set(CMAKE_FIND_ROOT_PATH "${VELK_WINDOWS_DEPS}" /usr/${VELK_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# find_package(OpenSSL) then also links the libraries of Windows that OpenSSL requires.
set(OPENSSL_USE_STATIC_LIBS ON)

# Without the time stamp, builds are reproducible.
set(VELK_LINK_FLAGS "-static -static-libgcc -static-libstdc++ -Wl,--no-insert-timestamp")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${VELK_LINK_FLAGS}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${VELK_LINK_FLAGS}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${VELK_LINK_FLAGS}")

set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/wine")
