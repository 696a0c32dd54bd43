# The class factory and the reporting state exist once per process. A program that includes the headers holds a copy of
# each; unless it exports them, a library that it loads with dlopen would make a second one of its own.
# This file is installed with the package, as the linker of the consumer decides.
include(CheckLinkerFlag)

# tavi_export_factory(<variable> <list>): the link options that make an executable export the symbols of the list.
function(tavi_export_factory variable list)
  set(CMAKE_REQUIRED_QUIET ON)
  check_linker_flag(CXX "-Wl,--export-dynamic-symbol-list=${list}" TAVI_LINKER_EXPORTS_SYMBOL_LIST)
  if(TAVI_LINKER_EXPORTS_SYMBOL_LIST)
    set(${variable} "-Wl,--export-dynamic-symbol-list=${list}" PARENT_SCOPE)
  else()
    set(${variable} -rdynamic PARENT_SCOPE)
  endif()
endfunction()
