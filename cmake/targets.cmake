# Helpers that every folder's CMakeLists.txt uses.

set(QUILL_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wcast-align -Wnon-virtual-dtor
                   -Woverloaded-virtual)
if(QUILL_WARNINGS_AS_ERRORS)
  list(APPEND QUILL_WARNINGS -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # g++ 12 finds overlapping copies in `"text" + std::to_string(n)` (GCC bug 105651).
  list(APPEND QUILL_WARNINGS -Wno-restrict)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  # That members are used with their locks held: see framework/base/mutex.h.
  list(APPEND QUILL_WARNINGS -Wthread-safety -Wthread-safety-beta)
endif()

# Of code that is built with sanitizers; a folder may set its own.
set(QUILL_SANITIZED_OPTIMISATION -O1)

# Of what is shipped: what distributions compile and link with, and no folder of the build
# machine in it.
set(QUILL_HARDENED_COMPILE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong
                           -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
include(CheckCXXCompilerFlag)
foreach(flag stack-clash-protection cf-protection) # not for every processor
  string(MAKE_C_IDENTIFIER "QUILL_HAS_${flag}" has)
  check_cxx_compiler_flag("-Werror -f${flag}" ${has})
  if(${has})
    list(APPEND QUILL_HARDENED_COMPILE -f${flag})
  endif()
endforeach()
set(QUILL_HARDENED_LINK -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,-z,text -Wl,--as-needed)

# quill_target(NAME): warnings, as errors unless that is switched off, and the chosen sanitizers.
function(quill_target name)
  target_compile_options(${name} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:${QUILL_WARNINGS}>)
  target_link_options(${name} PRIVATE -Wl,--enable-new-dtags)
  if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT QUILL_SANITIZE)
    target_compile_options(${name} PRIVATE ${QUILL_HARDENED_COMPILE})
    target_link_options(${name} PRIVATE ${QUILL_HARDENED_LINK})
  endif()
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Release")
    # g++ looks for garbage from 128 MB on, which precompiled headers fill; a test file
    # then compiles in five sixths of the time.
    target_compile_options(${name} PRIVATE "$<$<COMPILE_LANG_AND_ID:CXX,GNU>:--param=ggc-min-heapsize=1048576>")
  endif()
  if(QUILL_SANITIZE)
    target_compile_options(${name} PRIVATE -fsanitize=${QUILL_SANITIZE} -fno-omit-frame-pointer
                                           -fno-sanitize-recover=all)
    # Compiled in four fifths of the time that -O2 -g takes, and tests mostly wait.
    target_compile_options(${name} PRIVATE ${QUILL_SANITIZED_OPTIMISATION} -g1)
    # g++ 12 takes what the sanitizers add to std::regex for uninitialised reads, and code
    # of precompiled headers that it optimises for overflows. The shipped build, which has
    # neither, is compiled with these warnings.
    set(mistaken -Wno-maybe-uninitialized -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
    target_compile_options(${name} PRIVATE "$<$<COMPILE_LANG_AND_ID:CXX,GNU>:${mistaken}>")
    target_link_options(${name} PRIVATE -fsanitize=${QUILL_SANITIZE})
  endif()
endfunction()

# quill_precompile(NAME HEADER...): headers that most files of a target need. Not where
# it is shipped: see the warnings above; and there each file is built with its own headers
# alone.
function(quill_precompile name)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Release")
    target_precompile_headers(${name} PRIVATE ${ARGN})
  endif()
endfunction()

# quill_reuse_precompiled(NAME DONOR): the headers that were precompiled for DONOR, which
# is compiled with the same options and definitions.
function(quill_reuse_precompiled name donor)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Release")
    target_precompile_headers(${name} REUSE_FROM ${donor})
  endif()
endfunction()

# For code that handles sizes and times of files: 64-bit ones on 32-bit machines as well.
set(QUILL_WIDE_FILES _FILE_OFFSET_BITS=64)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  list(APPEND QUILL_WIDE_FILES _TIME_BITS=64)
endif()

# quill_seam(NAME VERSION): a shared library with a stable SONAME, lib<NAME>.so.1,
# with no undefined symbols of its own making.
function(quill_seam name)
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  quill_target(${name})
endfunction()
