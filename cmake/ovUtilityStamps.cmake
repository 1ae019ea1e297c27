# Writes the compilation stamps of the version record: the date in the form
# of the `date` command, the building host, the build directory, and the
# machine description in the form of `uname -a`.
set(OVUTILITY_STAMPS_DIR ${CMAKE_BINARY_DIR}/stamps)
execute_process(COMMAND date OUTPUT_VARIABLE OVUTILITY_STAMP_DATE OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND uname -n OUTPUT_VARIABLE OVUTILITY_STAMP_HOST OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND uname -a OUTPUT_VARIABLE OVUTILITY_STAMP_MACHINE OUTPUT_STRIP_TRAILING_WHITESPACE)
set(OVUTILITY_STAMP_DIRECTORY ${CMAKE_BINARY_DIR})
configure_file(${CMAKE_SOURCE_DIR}/cmake/IovUtility_version_stamps.h.in
               ${OVUTILITY_STAMPS_DIR}/IovUtility_version_stamps.h @ONLY)
