# The tests call the tool as a user does, and reach its parts through its library.
target_link_libraries(${target} PRIVATE tavi_host tavi_file_formats util)
target_compile_definitions(${target} PRIVATE TAVI_TOOL="$<TARGET_FILE:tavi>" TAVI_TESTS="${PROJECT_SOURCE_DIR}/tests")
add_dependencies(${target} tavi)

add_test(NAME Tool.documentation COMMAND ${PROJECT_SOURCE_DIR}/scripts/docs --check $<TARGET_FILE:tavi>)
set_tests_properties(Tool.documentation PROPERTIES LABELS Tool)
