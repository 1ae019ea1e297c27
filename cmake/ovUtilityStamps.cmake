# The compilation stamps of the version record: the date in the form of the
# `date` command, the building host, the build directory, and the machine
# description in the form of `uname -a`.
#
# Included by the library's CMakeLists, it adds a build step that writes the
# stamps header.  The step runs when one of the library's sources or headers
# (or the host headers they include) has changed, so the stamps describe the
# latest real rebuild, and a build with nothing changed compiles and links
# nothing.  Run with cmake -P by that step, it writes the header.
if(CMAKE_SCRIPT_MODE_FILE)
  execute_process(COMMAND date OUTPUT_VARIABLE OVUTILITY_STAMP_DATE OUTPUT_STRIP_TRAILING_WHITESPACE)
  execute_process(COMMAND uname -n OUTPUT_VARIABLE OVUTILITY_STAMP_HOST OUTPUT_STRIP_TRAILING_WHITESPACE)
  execute_process(COMMAND uname -a OUTPUT_VARIABLE OVUTILITY_STAMP_MACHINE OUTPUT_STRIP_TRAILING_WHITESPACE)
  set(OVUTILITY_STAMP_DIRECTORY ${DIRECTORY})
  configure_file(${TEMPLATE} ${OUTPUT} @ONLY)
  return()
endif()

set(OVUTILITY_STAMPS_DIR ${CMAKE_BINARY_DIR}/stamps)
set(OVUTILITY_STAMPS_HEADER ${OVUTILITY_STAMPS_DIR}/IovUtility_version_stamps.h)
set(OVUTILITY_STAMPS_TEMPLATE ${CMAKE_SOURCE_DIR}/cmake/IovUtility_version_stamps.h.in)
file(GLOB OVUTILITY_STAMPED_HOST_HEADERS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/host/*.hxx)
add_custom_command(
  OUTPUT ${OVUTILITY_STAMPS_HEADER}
  COMMAND ${CMAKE_COMMAND} -DOUTPUT=${OVUTILITY_STAMPS_HEADER}
          -DTEMPLATE=${OVUTILITY_STAMPS_TEMPLATE} -DDIRECTORY=${CMAKE_BINARY_DIR}
          -P ${CMAKE_CURRENT_LIST_FILE}
  DEPENDS ${OVUTILITY_SOURCES} ${OVUTILITY_HEADERS} ${OVUTILITY_STAMPED_HOST_HEADERS}
          ${OVUTILITY_STAMPS_TEMPLATE} ${CMAKE_CURRENT_LIST_FILE}
  COMMENT "Stamping the version record"
  VERBATIM)
target_sources(ovUtility PRIVATE ${OVUTILITY_STAMPS_HEADER})
