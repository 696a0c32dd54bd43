# Failing allocations are tested with a global allocator that fails on demand.
target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/FailingAllocation.cpp)
