# Installs the build into a scratch prefix, then builds and runs a consumer
# against it through find_package and through pkg-config.
set(prefix "${WORK_DIR}/prefix")
file(REMOVE_RECURSE "${WORK_DIR}")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN} failed:\n${output}")
  endif()
  message(STATUS "${output}")
endfunction()

run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${prefix}")
run(${CMAKE_COMMAND} -S "${SOURCE_DIR}" -B "${WORK_DIR}/consumer" "-DCMAKE_PREFIX_PATH=${prefix}"
    "-DCMAKE_BUILD_TYPE=Release" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}")
run(${CMAKE_COMMAND} --build "${WORK_DIR}/consumer")
set(ENV{LD_LIBRARY_PATH} "${prefix}/lib")
run("${WORK_DIR}/consumer/cmake_consumer")
run("${WORK_DIR}/consumer/pkgconfig_consumer")
