# Another Linux by Debian's cross compiler, its programs run by qemu-user:
#   cmake --preset cross-aarch64
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VESKARO_TARGET)
string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR ${VESKARO_TARGET})
string(REGEX REPLACE "^powerpc64le$" "ppc64le" emulator ${CMAKE_SYSTEM_PROCESSOR})
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${VESKARO_TARGET}-gcc)
set(CMAKE_CXX_COMPILER ${VESKARO_TARGET}-g++)
set(CMAKE_FIND_ROOT_PATH /usr/${VESKARO_TARGET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_INSTALL_LIBDIR lib/${VESKARO_TARGET} CACHE STRING "as Debian has it")
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${emulator};-L;/usr/${VESKARO_TARGET})
if(CMAKE_SYSTEM_PROCESSOR STREQUAL i686)
  # x86-64 runs it by itself. The x87 unit rounds otherwise than IEEE says.
  set(CMAKE_CROSSCOMPILING_EMULATOR /usr/${VESKARO_TARGET}/lib/ld-linux.so.2 --library-path
    /usr/${VESKARO_TARGET}/lib:${CMAKE_BINARY_DIR})
  set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
  set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
endif()
