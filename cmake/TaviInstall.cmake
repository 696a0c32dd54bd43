# Installation: the library, the headers below a folder of their own (so that no general name such as Array.hpp reaches
# the system's include folder), the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

set(header_dir ${CMAKE_INSTALL_INCLUDEDIR}/tavi-operators)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/TaviOperators)
set(data_dir ${CMAKE_INSTALL_DATADIR}/tavi-operators)
set(symbol_list ${data_dir}/process-wide.symbols)

install(
  TARGETS Tavi TaviOperators
  EXPORT TaviOperatorsTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development)
foreach(dir Tavi/include Numera/include TaviOperators/include)
  if(EXISTS ${PROJECT_SOURCE_DIR}/${dir})
    install(
      DIRECTORY ${dir}/
      DESTINATION ${header_dir}
      COMPONENT Development
      FILES_MATCHING
      PATTERN "*.hpp")
  endif()
endforeach()

install(
  EXPORT TaviOperatorsTargets
  NAMESPACE TaviOperators::
  DESTINATION ${package_dir}
  COMPONENT Development)
configure_package_config_file(cmake/TaviOperatorsConfig.cmake.in ${TAVI_GENERATED_DIR}/TaviOperatorsConfig.cmake
                              INSTALL_DESTINATION ${package_dir} PATH_VARS symbol_list)
write_basic_package_version_file(${TAVI_GENERATED_DIR}/TaviOperatorsConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(
  FILES ${TAVI_GENERATED_DIR}/TaviOperatorsConfig.cmake ${TAVI_GENERATED_DIR}/TaviOperatorsConfigVersion.cmake
        cmake/TaviFactoryExport.cmake
  DESTINATION ${package_dir}
  COMPONENT Development)

# The prefix follows the place of the .pc file, so a moved installation keeps working.
cmake_path(SET pc_dir NORMALIZE ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${pc_dir} OUTPUT_VARIABLE PC_PREFIX_FROM_FILE)
list(JOIN OpenMP_CXX_FLAGS " " PC_OPENMP_FLAGS)
configure_file(cmake/TaviOperators.pc.in ${TAVI_GENERATED_DIR}/TaviOperators.pc @ONLY)
install(
  FILES ${TAVI_GENERATED_DIR}/TaviOperators.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT Development)
install(
  FILES cmake/process-wide.symbols
  DESTINATION ${data_dir}
  COMPONENT Development)
# A component of its own, as Debian's packages have another file in its place.
install(
  FILES LICENSE
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT License)
