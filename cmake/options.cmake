# Everything that can be chosen at configure time.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# Programs too, so that they share precompiled headers with libraries.
set(CMAKE_C_COMPILE_OPTIONS_PIE -fPIC)
set(CMAKE_CXX_COMPILE_OPTIONS_PIE -fPIC)
add_compile_options(-pthread) # which the flags of some libraries have, and targets share headers only when all have it
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

option(QUILL_FUZZ "Build the fuzz targets (needs clang)" OFF)
option(QUILL_WARNINGS_AS_ERRORS "Let a warning of the compiler stop the build" ON)
set(QUILL_SANITIZE "" CACHE STRING "Sanitizers to build with: empty, address,undefined or thread")

option(QUILL_FRAMEWORK "Build the media framework; without it the tests' recording one takes its place" ON)
include(cmake/television.cmake)
if(QUILL_FOREIGN)
  option(QUILL_TESTS "Build the tests and benchmarks" OFF)
  if(QUILL_TESTS)
    message(FATAL_ERROR "QUILL_TESTS: the tests need this project's own libraries; leave out ${QUILL_FOREIGN} or the tests")
  endif()
else()
  option(QUILL_TESTS "Build the tests and benchmarks" ON)
endif()

if(NOT QUILL_FRAMEWORK AND NOT MRB_LIBRARY AND NOT QUILL_TESTS)
  message(FATAL_ERROR "QUILL_FRAMEWORK: without the framework the bridge is linked with the recording framework of the "
                      "tests (QUILL_TESTS=ON) or with the one that MRB_LIBRARY names")
endif()

# One layout for the build tree and the installed tree, so that the `quill`
# command finds its parts in the same way in both.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
# Libraries look for each other beside themselves, and the built ones are the installed
# ones: what CMake would put into the build tree for the time until it is installed ends
# with empty elements, which are the current directory, and names the folders of a
# television's libraries. A folder that lies elsewhere sets its own CMAKE_INSTALL_RPATH.
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN")

# Links in a fraction of the time. What is shipped is linked with the system's own.
if(NOT CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT CMAKE_CROSSCOMPILING)
  include(CheckLinkerFlag)
  check_linker_flag(CXX -fuse-ld=mold QUILL_HAS_MOLD)
  if(QUILL_HAS_MOLD)
    add_link_options(-fuse-ld=mold)
  endif()
endif()
