# The source folder of the exported frames is the list of operators. From it come the library's sources and the one
# generated list that the tool, the tests, the benchmarks and the check of the exported symbols share.

set(operators_dir ${PROJECT_SOURCE_DIR}/TaviOperators)

file(GLOB frame_sources CONFIGURE_DEPENDS ${operators_dir}/src/TaviOperatorsDll/*.cpp)
file(GLOB other_sources CONFIGURE_DEPENDS ${operators_dir}/src/Core/*.cpp ${operators_dir}/src/Geometry/*.cpp
     ${operators_dir}/src/NestedOperators/*.cpp)

# <Op>.cpp is an operator; <Op>.<something>.cpp is a further translation unit of one.
set(TAVI_OPERATORS "")
foreach(source IN LISTS frame_sources)
  cmake_path(GET source FILENAME name)
  if(name MATCHES "^([A-Za-z0-9_]+)\\.cpp$")
    list(APPEND TAVI_OPERATORS ${CMAKE_MATCH_1})
  endif()
endforeach()
list(SORT TAVI_OPERATORS)

# tavi_operator_documentation(<summary> <text> <operator>): the comment on the operator's namespace, as its first
# paragraph in one line and as the rest in its lines.
function(tavi_operator_documentation summary_variable text_variable operator)
  set(header ${operators_dir}/include/${operator}.hpp)
  set(${summary_variable} "" PARENT_SCOPE)
  set(${text_variable} "" PARENT_SCOPE)
  if(NOT EXISTS ${header})
    return()
  endif()
  set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
  file(READ ${header} content)
  if(NOT content MATCHES "\n((///[^\n]*\n)+)namespace NORV::TaviOperators::${operator} ")
    return()
  endif()
  string(REGEX REPLACE "(^|\n)///[ ]?" "\\1" comment "${CMAKE_MATCH_1}")
  string(REGEX REPLACE "\n\n.*" "" summary "${comment}")
  string(LENGTH "${summary}" length)
  string(SUBSTRING "${comment}" ${length} -1 text)
  string(REGEX REPLACE "[ \n]+" " " summary "${summary}")
  string(STRIP "${summary}" summary)
  string(STRIP "${text}" text)
  set(${summary_variable} "${summary}" PARENT_SCOPE)
  set(${text_variable} "${text}" PARENT_SCOPE)
endfunction()

set(TAVI_GENERATED_DIR ${PROJECT_BINARY_DIR}/generated)
set(TAVI_OPERATOR_LIST ${TAVI_GENERATED_DIR}/TaviOperatorsList.txt)
list(LENGTH TAVI_OPERATORS TAVI_OPERATOR_COUNT)
set(TAVI_OPERATOR_LINES "")
set(TAVI_OPERATOR_STRINGS "")
set(TAVI_OPERATOR_INCLUDES "")
set(TAVI_OPERATOR_ENTRIES "")
foreach(operator IN LISTS TAVI_OPERATORS)
  tavi_operator_documentation(summary text ${operator})
  string(APPEND TAVI_OPERATOR_LINES "${operator}\n")
  string(APPEND TAVI_OPERATOR_STRINGS "    \"${operator}\",\n")
  string(APPEND TAVI_OPERATOR_INCLUDES "#include <DLL/${operator}.hpp>\n")
  string(APPEND TAVI_OPERATOR_ENTRIES 
         "    {\"${operator}\", R\"doc(${summary})doc\",\n     R\"doc(${text})doc\",\n     &make<DLL::${operator}::Operator>},\n")
endforeach()
file(CONFIGURE OUTPUT ${TAVI_OPERATOR_LIST} CONTENT "@TAVI_OPERATOR_LINES@" @ONLY)
configure_file(cmake/OperatorList.hpp.in ${TAVI_GENERATED_DIR}/include/OperatorList.hpp @ONLY)
configure_file(cmake/OperatorTable.hpp.in ${TAVI_GENERATED_DIR}/include/OperatorTable.hpp @ONLY)
configure_file(cmake/OperatorTable.cpp.in ${TAVI_GENERATED_DIR}/OperatorTable.cpp @ONLY)

set(TAVI_LIBRARY_SOURCES ${frame_sources} ${other_sources})
if(NOT TAVI_LIBRARY_SOURCES)
  file(WRITE ${TAVI_GENERATED_DIR}/Empty.cpp "")
  set(TAVI_LIBRARY_SOURCES ${TAVI_GENERATED_DIR}/Empty.cpp)
endif()

# What the file formats are read and written with.
find_package(PkgConfig REQUIRED)
find_package(ZLIB REQUIRED)
pkg_check_modules(LZ4 REQUIRED IMPORTED_TARGET liblz4)
find_package(TIFF REQUIRED)
find_package(PNG REQUIRED)
find_package(pugixml REQUIRED)
add_library(tavi_file_formats INTERFACE)
target_link_libraries(
  tavi_file_formats
  INTERFACE ZLIB::ZLIB # VTI, REK
            PkgConfig::LZ4 # REK
            TIFF::TIFF
            PNG::PNG
            pugixml::pugixml) # VTI, TIFF

# What the core consists of, compiled once for all binaries instead of once per source. The library's and the tests'
# precompiled headers declare it.
set(TAVI_CORE_INSTANCES ${operators_dir}/src/CoreInstances)
add_library(tavi_core_instances STATIC EXCLUDE_FROM_ALL ${TAVI_CORE_INSTANCES}.cpp)
tavi_target_settings(tavi_core_instances)
target_link_libraries(tavi_core_instances PUBLIC Tavi)

# tavi_add_operators_library(<target> ARCH <march>): the shared library of all operators.
function(tavi_add_operators_library target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "ARCH" "")
  add_library(${target} SHARED ${TAVI_LIBRARY_SOURCES})
  tavi_target_settings(${target} ARCH "${arg_ARCH}")
  set_target_properties(
    ${target} PROPERTIES OUTPUT_NAME TaviOperators VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  target_include_directories(
    ${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/TaviOperators/include>
                     $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/tavi-operators>)
  target_include_directories(${target} PRIVATE ${operators_dir}/src)
  target_link_libraries(${target} PUBLIC Tavi)
  # Third-party libraries stay behind the exported frames, so users of the package need none of them.
  target_link_libraries(${target} PRIVATE tavi_highway tavi_core_instances tavi_file_formats)
  tavi_library_options(${target})
  tavi_precompile(${target} <DLL/Operator.hpp> <Impl/Frame/Dispatch.hpp> <Impl/Frame/Instances.hpp> <Operator.hpp>
                  ${TAVI_CORE_INSTANCES}.hpp)
  if(NOT TAVI_SANITIZE)
    target_link_options(${target} PRIVATE LINKER:--no-undefined)
  endif()
  set(map ${PROJECT_SOURCE_DIR}/cmake/TaviOperators.map)
  target_link_options(${target} PRIVATE LINKER:--version-script=${map})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
  # The factory keeps creation functions of this library until the process ends.
  target_link_options(${target} PRIVATE LINKER:-z,nodelete)
endfunction()

# tavi_add_hwcaps_library(<level>): a variant that the loader of glibc prefers on a machine of that level.
function(tavi_add_hwcaps_library level)
  set(target TaviOperators-${level})
  tavi_add_operators_library(${target} ARCH ${level})
  # No level includes the cipher instructions, without which Highway takes a processor for one with vectors of 128 bits.
  target_compile_definitions(${target} PRIVATE HWY_DISABLE_PCLMUL_AES)
  set(dir glibc-hwcaps/${level})
  set_target_properties(${target} PROPERTIES LIBRARY_OUTPUT_DIRECTORY
                                             $<TARGET_FILE_DIR:TaviOperators>/${dir})
  install(
    TARGETS ${target}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/${dir} NAMELINK_SKIP COMPONENT Runtime)
endfunction()

# Creation of every exported frame by the operator's name.
add_library(TaviOperatorTable STATIC EXCLUDE_FROM_ALL ${TAVI_GENERATED_DIR}/OperatorTable.cpp)
tavi_target_settings(TaviOperatorTable ARCH "${TAVI_ARCH}")
target_include_directories(TaviOperatorTable PUBLIC ${TAVI_GENERATED_DIR}/include)
target_link_libraries(TaviOperatorTable PUBLIC TaviOperators)
