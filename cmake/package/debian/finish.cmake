# Run by cpack on the files of the packages: gives them the names and the compression that
# Debian wants, without a name and a date in what is compressed, and their folders the usual
# modes, whatever umask made them.
execute_process(COMMAND find ${CPACK_TEMPORARY_INSTALL_DIRECTORY} -type d -exec chmod 755 {} +
                COMMAND_ERROR_IS_FATAL ANY)
set(documents share/doc/quillmrbbridge)
file(GLOB prefixes ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*${CPACK_PACKAGING_INSTALL_PREFIX})
foreach(prefix IN LISTS prefixes)
  if(EXISTS ${prefix}/${documents}/CHANGELOG.md)
    file(RENAME ${prefix}/${documents}/CHANGELOG.md ${prefix}/${documents}/changelog)
  endif()
  file(GLOB texts ${prefix}/share/man/man*/*.1 ${prefix}/share/doc/*/changelog ${prefix}/share/doc/*/changelog.Debian)
  foreach(text IN LISTS texts)
    execute_process(COMMAND gzip -9nf ${text} COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endforeach()
