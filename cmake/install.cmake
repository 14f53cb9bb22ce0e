# What is installed, and where. Components: runtime (all that `quill` needs to run scripts),
# development (to write a bridge, a framework or a log), documentation.
#
# The libraries are found by each other and by the command through relative paths, so the
# installed tree may be moved. They are private: no other program is meant to link with
# them by chance, so they lie in a folder of their own, with the addon and its scripts.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(QUILL_INSTALL_PRIVATE ${CMAKE_INSTALL_LIBDIR}/quill)
set(QUILL_INSTALL_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/quillmrbbridge)
if(QUILL_HOST_LIBRARY)
  set(QUILL_INSTALL_PRIVATE ${CMAKE_INSTALL_LIBDIR}) # a television's engine says where bridges lie
endif()

# quill_install(TARGET...): with the version as a text in each.
configure_file(cmake/version.cpp.in ${CMAKE_BINARY_DIR}/version.cpp @ONLY)
function(quill_install)
  foreach(target IN LISTS ARGN)
    target_sources(${target} PRIVATE ${CMAKE_BINARY_DIR}/version.cpp)
  endforeach()
  install(TARGETS ${ARGN} LIBRARY DESTINATION ${QUILL_INSTALL_PRIVATE} COMPONENT runtime NAMELINK_COMPONENT development)
endfunction()

if(NOT QUILL_FOREIGN)
  install(DIRECTORY platform/ DESTINATION ${QUILL_INSTALL_HEADERS} COMPONENT development FILES_MATCHING PATTERN "*.h")
  install(DIRECTORY sdk/ DESTINATION ${CMAKE_INSTALL_DATADIR}/quill/sdk COMPONENT runtime)
  install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
  install(FILES README.md CHANGELOG.md LICENCE.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)

  # V8's headers as others find them: a distribution's package is not built on the machine
  # that it is installed on.
  set(QUILL_INSTALLED_V8_INCLUDE ${V8_INCLUDE})
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(QUILL_INSTALLED_V8_INCLUDE /usr/include/node)
  endif()

  # pkg-config's files and the package for CMake, which find the rest relative to themselves.
  set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH QUILL_PC_LIBRARIES ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR}/quill)
  file(RELATIVE_PATH QUILL_PC_HEADERS ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
       ${CMAKE_INSTALL_FULL_INCLUDEDIR}/quillmrbbridge)
  foreach(package quill-bridge quill-framework quill-log)
    configure_file(cmake/package/${package}.pc.in ${CMAKE_BINARY_DIR}/package/${package}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/package/${package}.pc DESTINATION ${pkgconfig_folder} COMPONENT development)
  endforeach()
  set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/quillmrbbridge)
  configure_package_config_file(cmake/package/quillmrbbridge-config.cmake.in
    ${CMAKE_BINARY_DIR}/package/quillmrbbridge-config.cmake INSTALL_DESTINATION ${package_folder}
    PATH_VARS QUILL_INSTALL_PRIVATE QUILL_INSTALL_HEADERS)
  write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/quillmrbbridge-config-version.cmake
                                   COMPATIBILITY SameMajorVersion)
  install(FILES ${CMAKE_BINARY_DIR}/package/quillmrbbridge-config.cmake
                ${CMAKE_BINARY_DIR}/package/quillmrbbridge-config-version.cmake
          DESTINATION ${package_folder} COMPONENT development)
endif()
