# Forwards to CMake and the scripts; everything it does can be done with the presets alone.
#
#   make demo [INPUT=volume.rek]   sets everything up, builds, runs the demonstration job
#   make test                      sets everything up, builds, runs all tests
#   make bench [FILTER=regex]      measures
#   make asan, make tsan           all tests under the sanitizers
#   make fuzz [TARGET=] [TIME=60]  fuzzes the readers of files, each TIME seconds
#   make python                    builds the Python package and prints how to use it from the build tree
#   make docs                      renews the generated parts of the documentation, builds its site in build/docs
#   make format, make tidy         formatting, static analysis
#   make packages                  Debian packages, installed and used in a fresh root: build/package/packages
#   make baseline                  all tests on the library for the oldest processor
#   make coverage                  all tests, and which lines of the library they execute
#   make abi                       renews the list of the library's binary interface
#   make check [PARTS="..."]       everything that a release needs, each part on its own, with a summary

SHELL := /bin/bash
CMAKE_GENERATOR ?= $(if $(shell command -v ninja),Ninja,Unix Makefiles)
CMAKE_BUILD_PARALLEL_LEVEL ?= $(shell nproc)
CTEST_PARALLEL_LEVEL ?= $(shell nproc)
export CMAKE_GENERATOR CMAKE_BUILD_PARALLEL_LEVEL CTEST_PARALLEL_LEVEL

SOURCES = git ls-files -z -- '*.hpp' '*.cpp'

.PHONY: demo test bench python asan tsan fuzz docs format format-check tidy packages baseline coverage abi check release \
	dependencies dependencies-docs dependencies-sanitizers dependencies-tests

demo: dependencies
	@echo "Building the library and the command-line tool, without the tests: a few minutes"
	cmake --preset release
	cmake --build --preset release --target tavi
	scripts/demo $(INPUT)

test: dependencies-tests release
	ctest --preset release

bench: dependencies
	cmake --preset bench
	cmake --build --preset bench
	scripts/bench $(FILTER)

python: dependencies
	cmake --preset release
	cmake --build --preset release --target python

asan: dependencies-sanitizers
	cmake --preset asan
	cmake --build --preset asan
	ctest --preset asan

tsan: dependencies-sanitizers
	cmake --preset tsan
	cmake --build --preset tsan
	ctest --preset tsan

fuzz:
	scripts/fuzz "$(TARGET)" $(TIME)

docs: dependencies dependencies-docs
	cmake --preset release
	cmake --build --preset release --target tavi
	scripts/docs
	scripts/site/build build/release/bin/tavi build/docs
	scripts/site/check-links build/docs

format:
	$(SOURCES) | xargs -0 --no-run-if-empty clang-format -i

format-check:
	$(SOURCES) | xargs -0 --no-run-if-empty clang-format --dry-run -Werror

packages: dependencies
	scripts/packages

baseline: dependencies-tests
	cmake --preset package -D TAVI_NATIVE_LIBRARY=$(abspath $(wildcard build/release/lib/libTaviOperators.so.1))
	cmake --build --preset package
	ctest --preset package

coverage: dependencies
	scripts/coverage

abi: dependencies
	scripts/abi

check:
	scripts/check $(PARTS)

tidy: dependencies
	scripts/install-dependencies --tidy
	scripts/tidy

release: dependencies
	cmake --preset release
	cmake --build --preset release

dependencies:
	@scripts/install-dependencies

dependencies-tests: dependencies-docs
	@scripts/install-dependencies --tests

dependencies-sanitizers:
	@scripts/install-dependencies --sanitizers

dependencies-docs:
	@scripts/install-dependencies --docs
