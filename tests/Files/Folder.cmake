# The bytes of files are compared with what the libraries of the formats make.
target_link_libraries(${target} PRIVATE tavi_file_formats)
