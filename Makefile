# Norvik: the data-access library of the audit suite and the norvik tool.
#   make demo    build, then create and describe an audit database from nothing
#   make test    build (normal and sanitizer), check formatting, run every test on both engines,
#                then a short run of every fuzz target
#   make bench   build and run the benchmarks
#   make format  apply .clang-format to the sources
JOBS ?= $(shell nproc)
BUILD_TYPE ?= RelWithDebInfo
SOURCES = $(shell git ls-files '*.cpp' '*.h' 2>/dev/null)

.PHONY: all deps build build-asan demo test check-format format bench clean

all: build

deps:
	@scripts/install-deps.sh

build: deps
	cmake -S . -B build -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) >/dev/null
	cmake --build build -j $(JOBS)

build-asan: deps
	cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DNORVIK_SANITIZE=ON >/dev/null
	cmake --build build-asan -j $(JOBS)

demo: build
	@scripts/demo.sh build/cli/norvik

check-format: deps
	@clang-format --dry-run --Werror $(SOURCES) && echo "formatting: ok"

format:
	clang-format -i $(SOURCES)

test: build build-asan check-format
	scripts/with-pg-cluster.sh scripts/run-tests.sh
	scripts/run-fuzz.sh build-fuzz

bench: deps
	cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DNORVIK_BUILD_BENCH=ON -DNORVIK_BUILD_TESTS=OFF >/dev/null
	cmake --build build-bench -j $(JOBS)
	scripts/with-pg-cluster.sh scripts/run-bench.sh build-bench

clean:
	rm -rf build build-asan build-bench build-fuzz out
