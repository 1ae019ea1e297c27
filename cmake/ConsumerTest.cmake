# Configures, builds and runs the consumer example against ovUtility as a
# package: the installed tree (PACKAGE=install, the default: the build is
# first installed into a scratch prefix) or the build tree itself
# (PACKAGE=build).  Run with cmake -P.
if(NOT PACKAGE)
  set(PACKAGE install)
endif()
set(work ${BINARY_DIR}/consumer-test-${PACKAGE})
set(prefix ${work}/install)
set(build ${work}/build)
file(REMOVE_RECURSE ${work})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}")
  endif()
endfunction()

if(PACKAGE STREQUAL "install")
  run(${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${prefix})
  set(find_package_hint -DCMAKE_PREFIX_PATH=${prefix})
else()
  set(find_package_hint -DovUtility_DIR=${BINARY_DIR})
endif()
run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE} -B ${build} -G ${GENERATOR}
    ${find_package_hint} -DROOT_DIR=${ROOT_DIR})
run(${CMAKE_COMMAND} --build ${build})
run(${build}/consumer)
