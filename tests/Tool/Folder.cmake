# The tests call the tool as a user does, and reach its parts through its library.
target_link_libraries(${target} PRIVATE tavi_host tavi_file_formats util)
target_compile_definitions(${target} PRIVATE TAVI_TOOL="$<TARGET_FILE:tavi>" TAVI_TESTS="${PROJECT_SOURCE_DIR}/tests")
add_dependencies(${target} tavi)

add_test(NAME Tool.documentation COMMAND ${PROJECT_SOURCE_DIR}/scripts/docs --check $<TARGET_FILE:tavi>)
set_tests_properties(Tool.documentation PROPERTIES LABELS Tool)
target_compile_definitions(${target} PRIVATE TAVI_OPERATOR_CALLS="${CMAKE_CURRENT_LIST_DIR}/operator-calls.txt")

add_test(NAME Tool.shell_files COMMAND ${CMAKE_CURRENT_LIST_DIR}/check-shell-files $<TARGET_FILE:tavi>)
add_test(NAME Tool.job_schema COMMAND ${CMAKE_CURRENT_LIST_DIR}/check-job-schema $<TARGET_FILE:tavi>
                                      ${CMAKE_CURRENT_LIST_DIR}/operator-calls.txt
                                      ${PROJECT_SOURCE_DIR}/docs/command-line.md)
set_tests_properties(Tool.shell_files Tool.job_schema PROPERTIES LABELS Tool SKIP_RETURN_CODE 77)
add_test(NAME Tool.documented_job COMMAND ${CMAKE_CURRENT_LIST_DIR}/check-documented-job $<TARGET_FILE:tavi>
                                          ${PROJECT_SOURCE_DIR}/docs/command-line.md)
set_tests_properties(Tool.documented_job PROPERTIES LABELS Tool)
