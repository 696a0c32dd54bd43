# Run by cpack behind each set of packages: gives them what CPack has no settings for. The field Multi-Arch is added; a
# trigger runs ldconfig instead of maintainer scripts; and one line of the file `shlibs` serves the library with its
# variants, which have one soname.

# run(<command>...): fails with the output of the command.
function(run)
  execute_process(
    COMMAND ${ARGN}
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output
    RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\n${output}")
  endif()
endfunction()

foreach(package IN LISTS CPACK_PACKAGE_FILES)
  cmake_path(GET package FILENAME file)
  string(REGEX REPLACE "_.*" "" name ${file})
  set(root ${CPACK_TEMPORARY_DIRECTORY}/finish/${name})
  file(REMOVE_RECURSE ${root})
  file(MAKE_DIRECTORY ${root})
  run(dpkg-deb --raw-extract ${package} ${root})

  set(control ${root}/DEBIAN)
  file(READ ${control}/control fields)
  string(STRIP "${fields}" fields)
  file(WRITE ${control}/control "${fields}\nMulti-Arch: ${CPACK_TAVI_MULTIARCH_${name}}\n")
  if(EXISTS ${control}/postinst)
    file(REMOVE ${control}/postinst ${control}/postrm)
    file(WRITE ${control}/triggers "activate-noawait ldconfig\n")
    file(CHMOD ${control}/triggers PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  endif()
  if(EXISTS ${control}/shlibs)
    file(STRINGS ${control}/shlibs lines)
    list(REMOVE_DUPLICATES lines)
    list(JOIN lines "\n" lines)
    file(WRITE ${control}/shlibs "${lines}\n")
  endif()
  run(dpkg-deb --build --root-owner-group -Z${CPACK_TAVI_COMPRESSION} ${root} ${package})
endforeach()
