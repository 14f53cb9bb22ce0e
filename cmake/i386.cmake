# 32-bit x86 (package g++-i686-linux-gnu).
set(CMAKE_SYSTEM_PROCESSOR i686)
set(QUILL_COMPILER i686-linux-gnu)
set(QUILL_TRIPLET i386-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
