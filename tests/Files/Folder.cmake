# The records of TIFF directories are read from and written to handles of the library of the format.
find_package(TIFF REQUIRED)
target_link_libraries(${target} PRIVATE TIFF::TIFF)
