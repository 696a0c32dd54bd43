# What the tests share is compiled once.
target_sources(${target} PRIVATE ${folder}/Remapping.cpp ${folder}/VoxelRule.cpp)
