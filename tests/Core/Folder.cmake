# Failing allocations are tested with a global allocator that fails on demand.
target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/FailingAllocation.cpp)
# g++ 12 forgets in a precompiled header what belongs to the system, and then lets its false alarm about the inside of
# std::string through.
set_source_files_properties(Core/TripleTest.cpp PROPERTIES COMPILE_OPTIONS "$<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds;-Wno-stringop-overflow;-Wno-restrict>")
