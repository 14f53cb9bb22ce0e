# 32-bit ARM (package g++-arm-linux-gnueabihf).
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(QUILL_COMPILER arm-linux-gnueabihf)
set(QUILL_TRIPLET arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
