# Node.js's headers, and the version that they are of.

# They must be those of the node that will run, so look beside the program first: an
# official archive or a vendor package brings them along; the distribution puts them into
# /usr/include/node (libnode-dev). The program itself is not needed to build.
find_program(NODE_PROGRAM NAMES node nodejs)
set(node_folders /usr/include/node /usr/include/nodejs/src)
if(NODE_PROGRAM)
  file(REAL_PATH ${NODE_PROGRAM} node_program_file)
  cmake_path(GET node_program_file PARENT_PATH node_bin)
  cmake_path(GET node_bin PARENT_PATH node_prefix)
  list(PREPEND node_folders ${node_prefix}/include/node)
endif()
find_path(NODE_INCLUDE NAMES node.h PATHS ${node_folders} NO_DEFAULT_PATH)
if(NOT NODE_INCLUDE)
  message(FATAL_ERROR "No Node.js headers (node.h) in ${node_folders}. Install libnode-dev, or a Node.js package "
                      "that brings include/node, or name their folder: -DNODE_INCLUDE=FOLDER")
endif()

file(STRINGS ${NODE_INCLUDE}/node_version.h node_numbers REGEX "^#define NODE_(MAJOR|MINOR|PATCH)_VERSION ")
string(REGEX REPLACE "[^0-9;]" "" node_numbers "${node_numbers}")
string(REPLACE ";" "." NODE_VERSION "${node_numbers}")

add_library(node-headers INTERFACE)
target_include_directories(node-headers SYSTEM INTERFACE ${NODE_INCLUDE})
