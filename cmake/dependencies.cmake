# The libraries that each part stands on, as imported targets. A part that a television
# replaces needs none.

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

# The bridge.
pkg_check_modules(JSONCPP REQUIRED IMPORTED_TARGET jsoncpp)
pkg_check_modules(CLUTTER REQUIRED IMPORTED_TARGET clutter-1.0)

# The engine.
if(NOT QUILL_HOST_LIBRARY)
  pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0)
  include(cmake/node.cmake)
endif()

# The system log.
if(NOT SYSTEM_LOG_LIBRARY)
  pkg_check_modules(SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)
endif()

# The media framework.
if(QUILL_FRAMEWORK AND NOT MRB_LIBRARY)
  pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0)
  pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-i18n icu-uc)
  # What is attached and mounted.
  pkg_check_modules(MOUNT REQUIRED IMPORTED_TARGET mount)
  pkg_check_modules(BLKID REQUIRED IMPORTED_TARGET blkid)
  pkg_check_modules(UDEV REQUIRED IMPORTED_TARGET libudev)
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
endif()

# V8's headers alone are what the bridge needs of an engine.
if(NOT V8_INCLUDE)
  set(V8_INCLUDE ${NODE_INCLUDE})
endif()
find_path(QUILL_V8_HEADER_FOLDER NAMES v8.h PATHS ${V8_INCLUDE} NO_DEFAULT_PATH NO_CACHE NO_CMAKE_FIND_ROOT_PATH)
if(NOT QUILL_V8_HEADER_FOLDER)
  message(FATAL_ERROR "V8_INCLUDE: there is no v8.h in ${V8_INCLUDE}")
endif()
add_library(v8-headers INTERFACE)
target_include_directories(v8-headers SYSTEM INTERFACE ${V8_INCLUDE})
