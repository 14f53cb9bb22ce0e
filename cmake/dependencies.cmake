# The libraries we stand on, each as an imported target.

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
pkg_check_modules(JSONCPP REQUIRED IMPORTED_TARGET jsoncpp)
pkg_check_modules(CLUTTER REQUIRED IMPORTED_TARGET clutter-1.0)
pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0)
pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-i18n icu-uc)
# What is attached and mounted.
pkg_check_modules(MOUNT REQUIRED IMPORTED_TARGET mount)
pkg_check_modules(BLKID REQUIRED IMPORTED_TARGET blkid)
pkg_check_modules(UDEV REQUIRED IMPORTED_TARGET libudev)
pkg_check_modules(SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)
# Metadata of pictures, of music and of films, and the file they are kept in.
pkg_check_modules(EXIF REQUIRED IMPORTED_TARGET libexif)
pkg_check_modules(HEIF REQUIRED IMPORTED_TARGET libheif)
pkg_check_modules(TAGLIB REQUIRED IMPORTED_TARGET taglib)
pkg_check_modules(LIBAV REQUIRED IMPORTED_TARGET libavformat libavcodec libavutil)
# Playlists in XML, from anybody: expat takes them in pieces, and stops at a document type.
pkg_check_modules(EXPAT REQUIRED IMPORTED_TARGET expat)
pkg_check_modules(SQLITE REQUIRED IMPORTED_TARGET sqlite3)
# What thumbnails are decoded with besides.
pkg_check_modules(VIPS REQUIRED IMPORTED_TARGET vips)
pkg_check_modules(TURBOJPEG REQUIRED IMPORTED_TARGET libturbojpeg)
pkg_check_modules(WEBP REQUIRED IMPORTED_TARGET libwebp)
# Cameras.
pkg_check_modules(GPHOTO REQUIRED IMPORTED_TARGET libgphoto2)
# The network's media servers.
pkg_check_modules(GUPNP REQUIRED IMPORTED_TARGET gupnp-1.6 gio-unix-2.0 libsoup-3.0 libxml-2.0)
pkg_check_modules(SWSCALE REQUIRED IMPORTED_TARGET libswscale)

# Node's headers must be those of the node that will run, so look beside the
# program first: an official archive or a vendor package brings them along;
# the distribution puts them into /usr/include/node (libnode-dev).
find_program(NODE_PROGRAM NAMES node nodejs REQUIRED)
file(REAL_PATH ${NODE_PROGRAM} node_program_file)
cmake_path(GET node_program_file PARENT_PATH node_bin)
cmake_path(GET node_bin PARENT_PATH node_prefix)
find_path(NODE_INCLUDE NAMES node.h HINTS ${node_prefix}/include/node PATHS /usr/include/node /usr/include/nodejs/src
          NO_DEFAULT_PATH)
if(NOT NODE_INCLUDE)
  message(FATAL_ERROR "No Node.js headers beside ${node_program_file}. "
                      "Install libnode-dev, or a Node.js package that brings include/node.")
endif()
add_library(node-headers INTERFACE)
target_include_directories(node-headers SYSTEM INTERFACE ${NODE_INCLUDE})
