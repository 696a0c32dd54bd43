# Forwards to CMake and the scripts; everything it does can be done with the presets alone.
#
#   make demo [INPUT=volume.rek]   sets everything up, builds, runs the demonstration job
#   make test                      sets everything up, builds, runs all tests
#   make bench [FILTER=regex]      measures
#   make asan, make tsan           all tests under the sanitizers
#   make fuzz [TARGET=] [TIME=60]  fuzzes the readers of files, each TIME seconds
#   make python                    builds the Python package and prints how to use it from the build tree
#   make docs                      renews the generated parts of the documentation
#   make format, make tidy         formatting, static analysis

SHELL := /bin/bash
CMAKE_GENERATOR ?= $(if $(shell command -v ninja),Ninja,Unix Makefiles)
CMAKE_BUILD_PARALLEL_LEVEL ?= $(shell nproc)
CTEST_PARALLEL_LEVEL ?= $(shell nproc)
export CMAKE_GENERATOR CMAKE_BUILD_PARALLEL_LEVEL CTEST_PARALLEL_LEVEL

SOURCES = git ls-files -z -- '*.hpp' '*.cpp'

.PHONY: demo test bench python asan tsan fuzz docs format tidy release packages packages-sanitizers packages-tests

demo: packages
	@echo "Building the library and the command-line tool, without the tests: a few minutes"
	cmake --preset release
	cmake --build --preset release --target tavi
	scripts/demo $(INPUT)

test: packages-tests release
	ctest --preset release

bench: packages
	cmake --preset bench
	cmake --build --preset bench
	scripts/bench $(FILTER)

python: packages
	cmake --preset release
	cmake --build --preset release --target python

asan: packages-sanitizers
	cmake --preset asan
	cmake --build --preset asan
	ctest --preset asan

tsan: packages-sanitizers
	cmake --preset tsan
	cmake --build --preset tsan
	ctest --preset tsan

fuzz:
	scripts/fuzz "$(TARGET)" $(TIME)

docs: release
	scripts/docs

format:
	$(SOURCES) | xargs -0 --no-run-if-empty clang-format -i

tidy: release
	scripts/install-dependencies --tidy
	scripts/tidy

release: packages
	cmake --preset release
	cmake --build --preset release

packages:
	@scripts/install-dependencies

packages-tests:
	@scripts/install-dependencies --tests

packages-sanitizers:
	@scripts/install-dependencies --sanitizers
