# Variants of the library for newer processors. A library for the oldest x86-64 processor is several times slower, as it
# lacks most vector instructions: so without an architecture the library is built for the baseline and for x86-64-v3, and
# the loader of glibc takes the best one for the machine.
set(default "")
if(NOT TAVI_ARCH
   AND NOT TAVI_SANITIZE
   AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug"
   AND CMAKE_SYSTEM_NAME STREQUAL "Linux"
   AND CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  set(default "x86-64-v3")
endif()
set(TAVI_HWCAPS "${default}" CACHE STRING
    "Levels such as \"x86-64-v3;x86-64-v4\" for which variants stand beside the library; ON for both, OFF for none")

if(TAVI_HWCAPS STREQUAL "ON")
  set(TAVI_VARIANTS x86-64-v3 x86-64-v4)
elseif(TAVI_HWCAPS)
  set(TAVI_VARIANTS ${TAVI_HWCAPS})
else()
  set(TAVI_VARIANTS "")
endif()
if(TAVI_VARIANTS AND TAVI_ARCH)
  message(FATAL_ERROR "TAVI_HWCAPS needs the baseline beside its variants: leave TAVI_ARCH empty")
endif()

if(TAVI_ARCH)
  message(STATUS "TaviOperators: for ${TAVI_ARCH}")
elseif(TAVI_VARIANTS)
  list(JOIN TAVI_VARIANTS ", " levels)
  message(STATUS "TaviOperators: for the compiler's baseline, with variants for ${levels} that the loader chooses")
else()
  message(STATUS "TaviOperators: for the compiler's baseline only")
endif()
