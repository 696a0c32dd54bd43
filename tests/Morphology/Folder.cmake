# Failing allocations and extra memory are tested with a global allocator that fails and counts.
target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/FailingAllocation.cpp)
