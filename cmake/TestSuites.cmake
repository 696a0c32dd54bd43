# Run by ctest: one entry per test suite of `program`, written to `entries` whenever the program is newer.
# Each suite runs in a folder of its own below `work_dir`, so suites that write files may run side by side.

macro(add_entry name filter labels)
  file(MAKE_DIRECTORY "${work_dir}/${name}")
  string(APPEND content "add_test([==[${name}]==] [==[${program}]==] [==[--gtest_filter=${filter}]==])\n"
                        "set_tests_properties([==[${name}]==] PROPERTIES LABELS [==[${labels}]==] TIMEOUT 900 "
                        "WORKING_DIRECTORY [==[${work_dir}/${name}]==])\n")
endmacro()

macro(finish_suite)
  if(has_plain)
    add_entry("${label}.${entry}" "${suite}.*-*Failure*" "${label}")
  endif()
  if(has_failure)
    add_entry("${label}.${entry}.failures" "${failure_filter}" "${label};error")
  endif()
endmacro()

if(NOT EXISTS "${program}")
  add_test("${program}_NOT_BUILT" "${program}_NOT_BUILT")
  return()
endif()

if(NOT EXISTS "${entries}" OR "${program}" IS_NEWER_THAN "${entries}" OR "${CMAKE_CURRENT_LIST_FILE}" IS_NEWER_THAN
                                                                        "${entries}")
  execute_process(
    COMMAND "${program}" --gtest_list_tests
    OUTPUT_VARIABLE listing
    ERROR_VARIABLE errors
    RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${program} does not list its tests (${status})\n${listing}${errors}")
  endif()
  string(REPLACE ";" "," listing "${listing}")
  string(REPLACE "\n" ";" lines "${listing}")

  set(content "")
  set(suite "")
  foreach(line IN LISTS lines)
    if(line MATCHES "^([^ ]+)\\.( |$)")
      finish_suite()
      set(suite "${CMAKE_MATCH_1}")
      string(REPLACE "/" "." entry "${suite}")
      set(has_plain FALSE)
      set(has_failure FALSE)
      set(failure_filter "${suite}.*Failure*")
      if(suite MATCHES "Failure")
        set(failure_filter "${suite}.*")
      endif()
    elseif(line MATCHES "^  ([^ ]+)")
      set(case "${CMAKE_MATCH_1}")
      if(case MATCHES "^DISABLED_")
        continue()
      elseif("${suite}${case}" MATCHES "Failure")
        set(has_failure TRUE)
      else()
        set(has_plain TRUE)
      endif()
    endif()
  endforeach()
  finish_suite()
  file(WRITE "${entries}" "${content}")
endif()

include("${entries}")
