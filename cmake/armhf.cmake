# 32-bit ARM with Debian's cross compiler (package g++-arm-linux-gnueabihf).
# QUILL_SYSROOT: a root file system with the libraries and headers to link with.
# Without one the bridge's objects still compile, against this machine's headers.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(QUILL_SYSROOT "" CACHE PATH "Root file system of the target")
if(QUILL_SYSROOT)
  set(CMAKE_SYSROOT ${QUILL_SYSROOT})
  set(ENV{PKG_CONFIG_SYSROOT_DIR} ${QUILL_SYSROOT})
  set(ENV{PKG_CONFIG_LIBDIR} ${QUILL_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${QUILL_SYSROOT}/usr/share/pkgconfig)
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
