# Precompiled headers. The core is header only, so its text is a third of the time that a source takes to compile.
# Compiled once per set of options; that every header also stands alone is checked by a test of its own.

if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache$")
  # Without these two, ccache takes no object that was made with a precompiled header.
  list(PREPEND CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros)
endif()

# g++ 12 forgets in a precompiled header which text is the system's, and then lets its false alarms about the inside of
# std::string and std::optional through.
function(tavi_precompiled_options target)
  target_compile_options(
    ${target}
    PRIVATE
      "$<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess;-Wno-array-bounds;-Wno-restrict;-Wno-stringop-overflow;-Wno-stringop-overread;-Wno-maybe-uninitialized>"
      "$<$<CXX_COMPILER_ID:Clang>:-Xclang;-fno-pch-timestamp>")
endfunction()

# tavi_precompile(<target> <header>...)
function(tavi_precompile target)
  target_precompile_headers(${target} PRIVATE ${ARGN})
  tavi_precompiled_options(${target})
endfunction()

# tavi_share_precompiled(<target> <owner>): as `owner`, which must be compiled with the same options.
function(tavi_share_precompiled target owner)
  target_precompile_headers(${target} REUSE_FROM ${owner})
  tavi_precompiled_options(${target})
endfunction()
