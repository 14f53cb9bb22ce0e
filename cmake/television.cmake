# A television's own libraries and headers in place of ours: see docs/porting.md.
#
# X_LIBRARY is a file to link the bridge with; X_INCLUDE are the folders of the headers that
# go with it, the first match wins. QUILL_FOREIGN lists the X_LIBRARY that are set.

set(QUILL_HOST_LIBRARY "" CACHE FILEPATH "The engine's bridge library, instead of libquill.so.1")
set(QUILL_HOST_INCLUDE "" CACHE PATH "The folders of the engine's headers, instead of platform/quill/")
set(MRB_LIBRARY "" CACHE FILEPATH "The television's media framework, instead of libmrb.so.1")
set(MRB_INCLUDE "" CACHE PATH "The folders of the framework's headers, instead of platform/mrb/")
set(SYSTEM_LOG_LIBRARY "" CACHE FILEPATH "The television's system log, instead of libsystemlog.so.1")
set(SYSTEM_LOG_INCLUDE "" CACHE PATH "The folders of the log's header, instead of platform/system_log.h")
set(V8_INCLUDE "" CACHE PATH "The folders of V8's headers (v8.h), instead of those of Node.js")

set(QUILL_FOREIGN "")
set(QUILL_FOREIGN_INCLUDE "")
set(QUILL_OWN_HEADERS "") # of platform/, those that no folder of a television replaces

# One of the interfaces: the prefix of its variables, and our headers in platform/.
function(quill_interface name headers)
  if(${name}_LIBRARY AND (NOT EXISTS "${${name}_LIBRARY}" OR IS_DIRECTORY "${${name}_LIBRARY}"))
    message(FATAL_ERROR "${name}_LIBRARY: there is no file ${${name}_LIBRARY}")
  endif()
  foreach(folder IN LISTS ${name}_INCLUDE)
    if(NOT IS_DIRECTORY "${folder}")
      message(FATAL_ERROR "${name}_INCLUDE: there is no folder ${folder}")
    endif()
  endforeach()
  if(${name}_INCLUDE AND NOT ${name}_LIBRARY)
    message(FATAL_ERROR "${name}_INCLUDE is set without ${name}_LIBRARY, the library that these headers describe")
  endif()
  if(${name}_LIBRARY)
    set(QUILL_FOREIGN ${QUILL_FOREIGN} ${name}_LIBRARY PARENT_SCOPE)
  endif()
  if(${name}_INCLUDE)
    set(QUILL_FOREIGN_INCLUDE ${QUILL_FOREIGN_INCLUDE} ${${name}_INCLUDE} PARENT_SCOPE)
  else()
    set(QUILL_OWN_HEADERS ${QUILL_OWN_HEADERS} ${headers} PARENT_SCOPE)
  endif()
endfunction()
quill_interface(QUILL_HOST quill)
quill_interface(MRB mrb)
quill_interface(SYSTEM_LOG system_log.h)

if(V8_INCLUDE)
  foreach(folder IN LISTS V8_INCLUDE)
    if(NOT IS_DIRECTORY "${folder}")
      message(FATAL_ERROR "V8_INCLUDE: there is no folder ${folder}")
    endif()
  endforeach()
elseif(QUILL_HOST_LIBRARY)
  message(FATAL_ERROR "V8_INCLUDE: name the folder of the engine's v8.h (QUILL_HOST_LIBRARY replaces the engine on Node.js)")
endif()
