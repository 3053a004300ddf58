# SPDX-License-Identifier: LGPL-2.1-or-later
# What people type. Everything else is CMake (see CMakePresets.json).
PREFIX ?= /usr/local
BUILD := build/release
SANITIZED := build/sanitize
CROSS := build/aarch64
KERNEL := build/kernel
ARCH ?= arm64
FUZZ_SECONDS ?= 600
JOBS := $(shell nproc)

# Its account matters only when it fails.
configure = mkdir -p build && { cmake --preset $(1) $(2) > build/configure-$(1).log 2>&1 || \
	{ cat build/configure-$(1).log; exit 1; }; }

all: packages
	@$(call configure,release,-DCMAKE_INSTALL_PREFIX=$(PREFIX))
	@cmake --build $(BUILD)

# Only what is missing.
packages:
	@packaging/install-packages packaging/build-packages

lint-packages: packages
	@packaging/install-packages packaging/lint-packages

demo: all
	@docs/demo $(BUILD)/bin

test: all
	@ctest --test-dir $(BUILD) --output-on-failure --parallel $(JOBS) --no-tests=error

# The same tests under the address and undefined-behaviour sanitizers.
test-sanitized: packages
	@$(call configure,sanitize,)
	@cmake --build $(SANITIZED)
	@ctest --test-dir $(SANITIZED) --output-on-failure --parallel $(JOBS) --no-tests=error

# Library, tools and tests for 64-bit Arm.
arm64: packages
	@packaging/install-packages packaging/arm64-packages
	@$(call configure,aarch64,)
	@cmake --build $(CROSS)

# The same tests on them, under emulation. tests/arm64/in-guest names those that need a kernel of their own.
test-arm64: arm64
	@ctest --test-dir $(CROSS) --output-on-failure --parallel $(JOBS) --no-tests=error

# Boots a kernel with the reference driver, and runs library and eswctl on it. ARCH=arm64, or x86_64.
# Downloads stay in build/kernel.
test-kernel: all $(if $(filter arm64,$(ARCH)),arm64)
	@packaging/install-packages packaging/kernel-packages
	@tests/kernel/run $(ARCH) $(if $(filter arm64,$(ARCH)),$(CROSS),$(BUILD)) $(BUILD) $(KERNEL)

# checkpatch.pl, W=1 and sparse over the reference driver.
lint-driver:
	@packaging/install-packages packaging/kernel-packages
	@packaging/lint-driver $(KERNEL)

# Eight threads on the library, under the thread sanitizer.
test-threads: packages
	@$(call configure,threads,)
	@cmake --build build/threads --target concurrency_tests
	@build/threads/bin/concurrency_tests --gtest_filter='*Threads*' --gtest_brief=1

# FUZZ_SECONDS for each target, from the inputs in fuzz/corpus on.
fuzz: lint-packages
	@$(call configure,clang,)
	@cmake --build build/clang
	@fuzz/run build/clang $(FUZZ_SECONDS)

evidence-packages: packages
	@packaging/install-packages packaging/evidence-packages

instrumented: evidence-packages
	@$(call configure,coverage,)
	@cmake --build build/coverage --target esw

# What programs that were linked before rely on. New calls are no difference.
abi: instrumented
	@packaging/abi build/coverage

# Records the calls and records of today: for a release that breaks with the past.
abi-record: instrumented
	@packaging/abi build/coverage --record

# The library's lines that its own tests run; fails below all of them.
coverage: instrumented all
	@packaging/coverage build/coverage $(BUILD)

# The results are in build/release/bench.
BENCH_SECONDS := 0.1
BENCH_REPETITIONS := 9
bench: packages
	@packaging/install-packages packaging/bench-packages
	@$(call configure,release,-DESW_BENCH=ON)
	@cmake --build $(BUILD) --target esw_bench esw_sim_bench
	@bench/run $(BUILD) $(BENCH_SECONDS) $(BENCH_REPETITIONS)

install: all
	@cmake --install $(BUILD) --prefix $(PREFIX)

lint: lint-packages
	@$(call configure,clang,)
	@packaging/lint build/clang

# The reference as HTML, in build/release/doxygen/html. Warnings are errors.
doc: all
	@command -v doxygen > /dev/null || { echo "make doc needs the package doxygen" >&2; exit 1; }
	@doxygen $(BUILD)/Doxyfile

clean:
	@rm -rf build

.PHONY: all packages lint-packages evidence-packages instrumented demo test test-sanitized test-threads fuzz abi \
	abi-record coverage arm64 test-arm64 test-kernel bench lint-driver install lint doc clean
