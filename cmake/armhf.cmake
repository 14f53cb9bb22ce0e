# 32-bit ARM with Debian's cross compiler (package g++-arm-linux-gnueabihf).
# QUILL_SYSROOT: a root file system with the libraries and headers to link with.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUILL_SYSROOT)
if(NOT QUILL_SYSROOT)
  message(FATAL_ERROR "Name the target's root file system: cmake --preset armhf -DQUILL_SYSROOT=FOLDER")
endif()
set(CMAKE_SYSROOT ${QUILL_SYSROOT})
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${QUILL_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${QUILL_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${QUILL_SYSROOT}/usr/share/pkgconfig)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY) # no headers of the build machine
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
