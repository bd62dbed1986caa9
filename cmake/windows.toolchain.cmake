# 64-bit Windows from Linux: MinGW-w64 with posix threads, everything linked statically so that no
# run-time DLL has to travel, and dependencies from the prefix that cmake/windows-deps.sh fills.
# The native include folder is never searched.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

get_filename_component(ORVU_SOURCE_ROOT "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)
if(DEFINED ENV{ORVU_WINDOWS_DEPS})
  set(ORVU_WINDOWS_DEPS "$ENV{ORVU_WINDOWS_DEPS}")
else()
  set(ORVU_WINDOWS_DEPS "${ORVU_SOURCE_ROOT}/build/deps/windows")
endif()
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 "${ORVU_WINDOWS_DEPS}")
set(CMAKE_PREFIX_PATH "${ORVU_WINDOWS_DEPS}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")
set(CMAKE_CROSSCOMPILING_EMULATOR "${ORVU_SOURCE_ROOT}/cmake/wine.sh")
