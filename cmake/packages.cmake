# Debian packages, made by `cpack --config BUILD/CPackConfig.cmake`: quillmrbbridge, with what
# scripts run on and the documents, and quillmrbbridge-dev. docs/packaging.md has the commands.

set(debian_folder ${CMAKE_SOURCE_DIR}/cmake/package/debian)
file(STRINGS ${debian_folder}/changelog package_entry LIMIT_COUNT 1)
if(NOT package_entry MATCHES "^quillmrbbridge \\(${PROJECT_VERSION}-([0-9]+)\\) ")
  message(FATAL_ERROR "${debian_folder}/changelog: the first entry is not of version ${PROJECT_VERSION}: ${package_entry}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})
set(package_version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR "quillmrbbridge")
set(CPACK_PACKAGE_CONTACT "quillmrbbridge maintainers <maintainers@quillmrbbridge.example>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# What Debian wants next to the project's own files; it is installed in packages alone.
foreach(package quillmrbbridge quillmrbbridge-dev)
  set(component debian_${package})
  install(FILES ${debian_folder}/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
          COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES ${debian_folder}/changelog DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
          RENAME changelog.Debian COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES ${debian_folder}/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
          RENAME ${package} COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

set(CPACK_COMPONENTS_ALL runtime documentation development debian_quillmrbbridge debian_quillmrbbridge-dev)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENT_RUNTIME_GROUP main)
set(CPACK_COMPONENT_DOCUMENTATION_GROUP main)
set(CPACK_COMPONENT_DEBIAN_QUILLMRBBRIDGE_GROUP main)
set(CPACK_COMPONENT_DEVELOPMENT_GROUP dev)
set(CPACK_COMPONENT_DEBIAN_QUILLMRBBRIDGE-DEV_GROUP dev)

set(CPACK_DEBIAN_MAIN_PACKAGE_NAME quillmrbbridge)
set(CPACK_DEBIAN_MAIN_PACKAGE_SECTION javascript)
set(CPACK_DEBIAN_MAIN_DESCRIPTION "media bridge for scripts, with an engine on Node.js
A plug-in that gives scripts one class with forty methods, which list,
describe, select and copy media and write thumbnails of them, as on a
television; and the command quill, which runs such scripts on the media
of this machine, of its sticks and cameras and of the media servers of
the network.")
set(CPACK_DEBIAN_MAIN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
# The addon runs on the major version that it was compiled for.
string(REGEX MATCH "^[0-9]+" node_major "${NODE_VERSION}")
math(EXPR node_next "${node_major} + 1")
set(CPACK_DEBIAN_MAIN_PACKAGE_DEPENDS "nodejs (>= ${node_major}), nodejs (<< ${node_next}~)")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME quillmrbbridge-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_DESCRIPTION "media bridge for scripts, to write bridges, frameworks and logs
The headers of the interfaces of quillmrbbridge, and its libraries for
pkg-config and CMake: to write plug-ins that give scripts more classes,
or a media framework or a system log in place of the package's own.")
# V8's headers: Debian's, or those in another vendor's nodejs.
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "quillmrbbridge (= ${package_version}), libnode-dev | nodejs-dev")

set(CPACK_PRE_BUILD_SCRIPTS ${debian_folder}/finish.cmake)
set(CPACK_PROJECT_CONFIG_FILE ${debian_folder}/config.cmake)
include(CPack)
