# Installs the build into a scratch prefix, then configures, builds and runs
# the consumer example against it.  Run with cmake -P.
set(prefix ${BINARY_DIR}/consumer-test/install)
set(build ${BINARY_DIR}/consumer-test/build)
file(REMOVE_RECURSE ${BINARY_DIR}/consumer-test)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE} -B ${build} -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${prefix} -DROOT_DIR=${ROOT_DIR})
run(${CMAKE_COMMAND} --build ${build})
run(${build}/consumer)
