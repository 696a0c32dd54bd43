# Debian packages: the library with its variants for newer processors, what hosts are built with, and the tool.
# `cpack --preset package` makes them from a build for the compiler's baseline; scripts/packages does all of it.
set(TAVI_PACKAGE_MAINTAINER "TaviOperators developers <tavi-operators@example.org>"
    CACHE STRING "Name and address in the Debian packages")
set(TAVI_PACKAGE_REVISION 1 CACHE STRING "Debian revision of the packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tavi-operators)
set(CPACK_PACKAGE_VENDOR "${TAVI_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_CONTACT "${TAVI_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL Runtime Development Tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE gzip)  # quick: Finish.cmake compresses again
set(CPACK_TAVI_COMPRESSION xz)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${TAVI_PACKAGE_REVISION})
set(CPACK_DEBIAN_PACKAGE_SOURCE tavi-operators)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/packages/Finish.cmake)

set(TAVI_PACKAGE_VERSION ${PROJECT_VERSION}-${TAVI_PACKAGE_REVISION})
set(processors "")
if(TAVI_ARCH)
  set(processors "\n\nBuilt for processors of this kind only: ${TAVI_ARCH}.")
elseif(TAVI_VARIANTS)
  list(JOIN TAVI_VARIANTS " and " levels)
  set(processors "\n\nThe loader chooses variants for ${levels} by itself.")
endif()
set(operators "Operators on three-dimensional voxel volumes, such as computed tomography
produces them: remapping of grey values, rank filters, segmentation,
labelling, distances, geometry, measurement and volume files.")

# tavi_package(<component> NAME <name> SECTION <section> MULTIARCH <value> SUMMARY <line> TEXT <text> [SHLIBDEPS])
function(tavi_package component)
  cmake_parse_arguments(PARSE_ARGV 1 arg "SHLIBDEPS" "NAME;SECTION;MULTIARCH;SUMMARY;TEXT" "")
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${arg_NAME} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${arg_SECTION} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SHLIBDEPS ${arg_SHLIBDEPS} PARENT_SCOPE)
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${arg_SUMMARY}\n${operators}${arg_TEXT}" PARENT_SCOPE)
  set(CPACK_TAVI_MULTIARCH_${arg_NAME} ${arg_MULTIARCH} PARENT_SCOPE)  # read by Finish.cmake

  set(doc ${CMAKE_INSTALL_DATAROOTDIR}/doc/${arg_NAME})
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/packages/copyright DESTINATION ${doc} COMPONENT ${component}
          EXCLUDE_FROM_ALL)
  if(TAVI_PACKAGE_CHANGELOG)
    install(FILES ${TAVI_PACKAGE_CHANGELOG} DESTINATION ${doc} COMPONENT ${component} EXCLUDE_FROM_ALL)
  endif()
endfunction()

# Compressed as Debian asks for it: without name and time, so that the same sources give the same file.
configure_file(cmake/packages/changelog.in ${TAVI_GENERATED_DIR}/packages/changelog.Debian @ONLY)
find_program(GZIP_PROGRAM gzip)
mark_as_advanced(GZIP_PROGRAM)
set(TAVI_PACKAGE_CHANGELOG "")
if(GZIP_PROGRAM)
  execute_process(COMMAND ${GZIP_PROGRAM} -9nkf ${TAVI_GENERATED_DIR}/packages/changelog.Debian
                  COMMAND_ERROR_IS_FATAL ANY)
  set(TAVI_PACKAGE_CHANGELOG ${TAVI_GENERATED_DIR}/packages/changelog.Debian.gz)
endif()

set(library_package libtavioperators${PROJECT_VERSION_MAJOR})
tavi_package(
  Runtime
  NAME ${library_package}
  SECTION libs
  MULTIARCH same
  SHLIBDEPS
  SUMMARY "operators on voxel volumes (shared library)"
  TEXT "${processors}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

tavi_package(
  Development
  NAME libtavioperators-dev
  SECTION libdevel
  MULTIARCH same
  SUMMARY "operators on voxel volumes (development files)"
  TEXT "\n\nHeaders, CMake package and pkg-config module for hosts and for operators\noutside the library.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} (= ${TAVI_PACKAGE_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "cmake, pkg-config")

tavi_package(
  Tools
  NAME tavi-tools
  SECTION science
  MULTIARCH foreign
  SHLIBDEPS
  SUMMARY "operators on voxel volumes (command line)"
  TEXT "\n\nThe command tavi lists, describes and runs the operators on volume files.")
# The tool holds frames and the key table of its own version.
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${library_package} (= ${TAVI_PACKAGE_VERSION})")

include(CPack)

# All that the packages hold.
add_custom_target(packaged)
add_dependencies(packaged TaviOperators)
foreach(level IN LISTS TAVI_VARIANTS)
  add_dependencies(packaged TaviOperators-${level})
endforeach()
if(TAVI_BUILD_TOOLS)
  add_dependencies(packaged tavi)
endif()
