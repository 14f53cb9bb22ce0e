# Read by cpack before it makes packages: their files are dated by the first entry of the
# changelog, so that the same sources make the same packages to the byte.
if("$ENV{SOURCE_DATE_EPOCH}" STREQUAL "")
  execute_process(COMMAND dpkg-parsechangelog --file ${CMAKE_CURRENT_LIST_DIR}/changelog --show-field Timestamp
                  OUTPUT_VARIABLE timestamp OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(ENV{SOURCE_DATE_EPOCH} ${timestamp})
endif()
