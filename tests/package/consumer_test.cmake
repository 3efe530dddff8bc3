# Script run by the package_consumer test (cmake -P).
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# find_package(kelp)
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/cmake-build -G Ninja
    -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
run(${WORK_DIR}/cmake-build/consumer)
if(NOT last_output MATCHES "consumer: ERROR: quv:kelp: hello")
  message(FATAL_ERROR "unexpected output: ${last_output}")
endif()

# pkg-config
set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig)
execute_process(COMMAND pkg-config --cflags --libs kelp OUTPUT_VARIABLE flags RESULT_VARIABLE rc
                OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "pkg-config does not know kelp")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${CXX} ${SOURCE_DIR}/main.cpp -o ${WORK_DIR}/pc-consumer ${flags}
    -lkelp-host -Wl,-rpath,${prefix}/lib)
run(${WORK_DIR}/pc-consumer)
file(REMOVE_RECURSE ${WORK_DIR})
