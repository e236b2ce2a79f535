# Norvik: the data-access library of the audit suite and the norvik tool.
#   make demo    build, inventory this machine with the Debian agent (installed when missing), import
#                it with inventories of our own, twice, and print the site report
#   make test    build (normal, sanitizer and Release), check formatting, run every test on both
#                engines, then a short run of every fuzz target
#   make package build the Release tree and make a .deb of it (build-release/norvik_*.deb)
#   make install install the Release tree (PREFIX, default /usr/local)
#   make bench   build and run the benchmarks on both engines and write bench/RESULTS.md; the site
#                growth grows to 1,000 computers (NORVIK_SITE_COMPUTERS=1000,5000 and
#                NORVIK_SITE_PG_COMPUTERS=1000,5000,20000 for the big sites: about an hour more)
#   make format  apply .clang-format to the sources
JOBS ?= $(shell nproc)
BUILD_TYPE ?= RelWithDebInfo
SOURCES = $(shell git ls-files '*.cpp' '*.h' 2>/dev/null)

.PHONY: all deps build build-asan build-release package install demo test check-format format bench clean

all: build

deps:
	@scripts/install-deps.sh

build: deps
	cmake -S . -B build -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DNORVIK_WERROR=ON >/dev/null
	cmake --build build -j $(JOBS)

build-asan: deps
	cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DNORVIK_SANITIZE=ON -DNORVIK_WERROR=ON >/dev/null
	cmake --build build-asan -j $(JOBS)

# The build a user makes (Release), tests included, with warnings as errors: a new warning at
# -O3 fails `make test` here instead of a user's build. Installing and packaging start from it.
build-release: deps
	cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release -DNORVIK_WERROR=ON >/dev/null
	cmake --build build-release -j $(JOBS)

package: build-release
	cd build-release && cpack -G DEB

PREFIX ?= /usr/local
install: build-release
	cmake --install build-release --prefix $(PREFIX)

demo: build
	@scripts/demo.sh build/cli/norvik

check-format: deps
	@clang-format --dry-run --Werror $(SOURCES) && echo "formatting: ok"

format:
	clang-format -i $(SOURCES)

test: build build-asan build-release check-format
	scripts/with-pg-cluster.sh scripts/run-tests.sh
	scripts/run-fuzz.sh build-fuzz

bench: deps
	cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DNORVIK_BUILD_BENCH=ON -DNORVIK_BUILD_TESTS=OFF -DNORVIK_WERROR=ON >/dev/null
	cmake --build build-bench -j $(JOBS)
	scripts/with-pg-cluster.sh scripts/run-bench.sh build-bench

clean:
	rm -rf build build-asan build-release build-bench build-fuzz out
