# How this project's own targets are compiled. None of this reaches the users of the package.

# tavi_target_settings(<target> [ARCH <march>]): language level, warnings, sanitizers, architecture.
function(tavi_target_settings target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "ARCH" "")
  set_target_properties(
    ${target}
    PROPERTIES CXX_STANDARD 20
               CXX_STANDARD_REQUIRED ON
               CXX_EXTENSIONS OFF
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON
               POSITION_INDEPENDENT_CODE ON)

  # Failures and assertions name files by their paths in this repository, on whatever machine they were compiled.
  target_compile_options(${target} PRIVATE -ffile-prefix-map=${PROJECT_BINARY_DIR}/=build/
                                           -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)

  # A fused multiply-add rounds once where two instructions round twice: without it every build gives the same voxels.
  target_compile_options(${target} PRIVATE -ffp-contract=off)

  if(arg_ARCH)
    target_compile_options(${target} PRIVATE -march=${arg_ARCH})
  endif()

  target_compile_options(
    ${target}
    PRIVATE -Wall
            -Wextra
            -Wpedantic
            -Wconversion
            -Wsign-conversion
            -Wshadow
            -Wnon-virtual-dtor
            -Woverloaded-virtual
            -Wold-style-cast
            -Wcast-qual
            -Wformat=2
            -Wundef
            -Wextra-semi
            $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond>
            $<$<CXX_COMPILER_ID:GNU>:-Wlogical-op>
            $<$<BOOL:${TAVI_WARNINGS_AS_ERRORS}>:-Werror>)

  if(TAVI_SANITIZE)
    # Lines are all that the reports need; with variables, compilers take several times as long.
    target_compile_options(
      ${target} PRIVATE -fsanitize=${TAVI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1)
    target_link_options(${target} PRIVATE -fsanitize=${TAVI_SANITIZE})
  endif()
  if(TAVI_COVERAGE)
    # Unoptimised vector code takes ten times as long. Counters are shared by threads.
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic -O1 -g1)
    target_link_options(${target} PRIVATE --coverage)
  endif()
  target_compile_definitions(${target} PRIVATE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
endfunction()

# tavi_library_options(<target>): what the library's own loops need beyond the settings of all targets. Compilers leave
# many row loops scalar at -O2, which is what distributions ask for.
function(tavi_library_options target)
  if(NOT TAVI_SANITIZE)
    target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-O3>)
  endif()
endfunction()

# tavi_quick_options(<target>): for code around the library's loops, where the time to compile counts.
function(tavi_quick_options target)
  target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-O1>)
endfunction()
