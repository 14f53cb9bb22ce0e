# What the toolchains of the architectures share: Debian's cross compiler QUILL_COMPILER-g++,
# and a root file system that has the libraries and headers to link with.
# QUILL_SYSROOT: its folder; tools/sysroot makes one.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${QUILL_COMPILER}-gcc)
set(CMAKE_CXX_COMPILER ${QUILL_COMPILER}-g++)

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUILL_SYSROOT)
if(NOT IS_DIRECTORY "${QUILL_SYSROOT}/usr/include")
  message(FATAL_ERROR "QUILL_SYSROOT: ${QUILL_SYSROOT} is no root file system with headers; tools/sysroot makes one, "
                      "or name another: -DQUILL_SYSROOT=FOLDER")
endif()
set(CMAKE_SYSROOT ${QUILL_SYSROOT})
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${QUILL_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${QUILL_SYSROOT}/usr/lib/${QUILL_TRIPLET}/pkgconfig:${QUILL_SYSROOT}/usr/share/pkgconfig)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY) # no headers of the build machine
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
