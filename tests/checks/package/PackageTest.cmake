# One step of the package test, see CMakeLists.txt beside this file.

function(run)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "EXPECT;IN" "COMMAND")
  if(NOT arg_IN)
    set(arg_IN ${WORK_DIR})
  endif()
  execute_process(
    COMMAND ${arg_COMMAND}
    WORKING_DIRECTORY ${arg_IN}
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output
    RESULT_VARIABLE status)
  list(JOIN arg_COMMAND " " command)
  message("${command}\n${output}")
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${command}: ended with ${status}")
  endif()
  if(arg_EXPECT AND NOT output MATCHES "${arg_EXPECT}")
    message(FATAL_ERROR "${command}: did not print \"${arg_EXPECT}\"")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

# build_project(<source> <folder> <definition>...): configures and builds a project that uses the installation.
function(build_project source folder)
  file(REMOVE_RECURSE ${folder})
  run(COMMAND
      ${CMAKE_COMMAND}
      -S ${source}
      -B ${folder}
      -G ${GENERATOR}
      -D CMAKE_BUILD_TYPE=Debug
      -D CMAKE_CXX_COMPILER=${COMPILER}
      -D CMAKE_CXX_FLAGS=${sanitize}
      -D CMAKE_PREFIX_PATH=${PREFIX}
      ${ARGN})
  run(COMMAND ${CMAKE_COMMAND} --build ${folder})
endfunction()

# build_consumer(<folder> <definition>...): the project of this test.
function(build_consumer folder)
  build_project(${CMAKE_CURRENT_LIST_DIR}/consumer ${folder} ${ARGN})
endfunction()

# General names such as Array.hpp must not reach a system's include folder.
function(check_header_folder)
  file(GLOB entries RELATIVE ${PREFIX}/${INCLUDEDIR} ${PREFIX}/${INCLUDEDIR}/*)
  if(NOT entries STREQUAL "tavi-operators")
    message(FATAL_ERROR "Headers are installed outside of ${INCLUDEDIR}/tavi-operators: ${entries}")
  endif()
endfunction()

set(host ${CMAKE_CURRENT_LIST_DIR}/host.cpp)
set(library ${PREFIX}/${LIBDIR}/libTaviOperators.so)
if(SANITIZE)
  set(sanitize -fsanitize=${SANITIZE})
endif()

if(STEP STREQUAL "install")
  file(REMOVE_RECURSE ${PREFIX})
  run(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --config ${CONFIG} --prefix ${PREFIX})
  check_header_folder()

elseif(STEP STREQUAL "cmake")
  set(build ${WORK_DIR}/consumer)
  build_consumer(${build})
  run(COMMAND ${build}/host IN ${build} EXPECT "host contract holds\n$")
  run(COMMAND ${build}/loading_host ${library} IN ${build} EXPECT "boundary holds\n$")
  # The project that the documentation shows, with the host that it shows.
  set(shown ${WORK_DIR}/shown_host)
  file(REMOVE_RECURSE ${shown})
  file(COPY ${ROOT_DIR}/docs/samples/host/CMakeLists.txt DESTINATION ${shown})
  configure_file(${ROOT_DIR}/examples/load_filter_save.cpp ${shown}/host.cpp COPYONLY)
  build_project(${shown} ${shown}/build)
  run(COMMAND ${shown}/build/host IN ${shown} EXPECT "filtered to filtered.rek\n$")

elseif(STEP STREQUAL "pkg-config")
  set(build ${WORK_DIR}/pkg-config)
  file(REMOVE_RECURSE ${build})
  file(MAKE_DIRECTORY ${build})
  set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig)
  # Through the shell, since that is where the output of pkg-config usually lands.
  run(COMMAND
      sh -c
      "'${COMPILER}' ${sanitize} -std=c++20 '${host}' -o host $(pkg-config --cflags --libs TaviOperators) \
-Wl,-rpath,\"$(pkg-config --variable=libdir TaviOperators)\""
      IN ${build})
  run(COMMAND ${build}/host IN ${build} EXPECT "host contract holds\n$")
  run(COMMAND
      sh -c
      "'${COMPILER}' ${sanitize} -std=c++20 '${CMAKE_CURRENT_LIST_DIR}/../boundary/boundary.cpp' -o loading_host \
$(pkg-config --cflags --libs TaviOperators | sed 's/-lTaviOperators//') -ldl"
      IN ${build})
  run(COMMAND ${build}/loading_host ${library} IN ${build} EXPECT "boundary holds\n$")

else()
  include(${CMAKE_CURRENT_LIST_DIR}/DebianSteps.cmake)
endif()
