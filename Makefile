# SPDX-License-Identifier: LGPL-2.1-or-later
# What people type. Everything else is CMake (see CMakePresets.json).
PREFIX ?= /usr/local
BUILD := build/release
SANITIZED := build/sanitize
CROSS := build/aarch64
KERNEL := build/kernel
ARCH ?= arm64
FUZZ_SECONDS ?= 600
DEB_ARCH ?= $(shell dpkg --print-architecture 2> /dev/null)
VERSION := $(shell sed -n 's/^project.* VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
JOBS := $(shell nproc)

# Its account matters only when it fails.
configure = mkdir -p build && { cmake --preset $(1) $(2) > build/configure-$(1).log 2>&1 || \
	{ cat build/configure-$(1).log; exit 1; }; }

# Library, simulated switch and tool.
all: packages
	@$(call configure,release,-DCMAKE_INSTALL_PREFIX=$(PREFIX) -DESW_TESTS=OFF)
	@cmake --build $(BUILD)

# And the tests.
with-tests: test-packages
	@$(call configure,release,-DCMAKE_INSTALL_PREFIX=$(PREFIX) -DESW_TESTS=ON)
	@cmake --build $(BUILD)

# Only what is missing.
packages:
	@packaging/install-packages packaging/build-packages

test-packages: packages
	@packaging/install-packages packaging/test-packages

lint-packages: test-packages
	@packaging/install-packages packaging/lint-packages

demo: all
	@docs/demo $(BUILD)/bin

test: test-machine with-tests
	@ctest --test-dir $(BUILD) --output-on-failure --parallel $(JOBS) --no-tests=error

# What some tests can't do without.
test-machine:
	@[ -w /dev/shm ] || { echo "The tests need /dev/shm: mount -t tmpfs tmpfs /dev/shm" >&2; exit 1; }
	@[ -d /sys/class/net ] || { echo "The tests need /sys: mount -t sysfs sysfs /sys" >&2; exit 1; }
	@script -qec true /dev/null < /dev/null > /dev/null 2>&1 || \
		{ echo "The tests need terminals: mount -t devpts devpts /dev/pts" >&2; exit 1; }

# The same tests under the address and undefined-behaviour sanitizers.
test-sanitized: test-machine test-packages
	@$(call configure,sanitize,)
	@cmake --build $(SANITIZED)
	@ctest --test-dir $(SANITIZED) --output-on-failure --parallel $(JOBS) --no-tests=error

# Those of library and simulated switch only: a third of the time.
test-sanitized-library: test-packages
	@$(call configure,sanitize,)
	@cmake --build $(SANITIZED) --target esw_tests concurrency_tests
	@for tests in esw_tests concurrency_tests; do $(SANITIZED)/bin/$$tests --gtest_brief=1 || exit 1; done

# Library, tools and tests for 64-bit Arm.
arm64: test-packages
	@packaging/install-packages packaging/arm64-packages
	@$(call configure,aarch64,)
	@cmake --build $(CROSS)

# The same tests on them, under emulation. tests/arm64/in-guest names those that need a kernel of their own.
test-arm64: arm64
	@ctest --test-dir $(CROSS) --output-on-failure --parallel $(JOBS) --no-tests=error

# Boots a kernel with the reference driver, and runs library and eswctl on it. ARCH=arm64, or x86_64.
# Downloads stay in build/kernel.
kernel_programs := eswctl esw-sim esw-sim-preload
test-kernel: test-packages
	@packaging/install-packages packaging/kernel-packages
	@$(call configure,release,-DCMAKE_INSTALL_PREFIX=$(PREFIX) -DESW_TESTS=ON)
	@cmake --build $(BUILD) --target $(kernel_programs) $(if $(filter arm64,$(ARCH)),,esw_tests)
	@[ $(ARCH) != arm64 ] || packaging/install-packages packaging/arm64-packages
	@[ $(ARCH) != arm64 ] || $(call configure,aarch64,)
	@[ $(ARCH) != arm64 ] || cmake --build $(CROSS) --target $(kernel_programs) esw_tests
	@tests/kernel/run $(ARCH) $(if $(filter arm64,$(ARCH)),$(CROSS),$(BUILD)) $(BUILD) $(KERNEL)

# checkpatch.pl, W=1 and sparse over the reference driver.
lint-driver:
	@packaging/install-packages packaging/kernel-packages
	@packaging/lint-driver $(KERNEL)

# Eight threads on the library, under the thread sanitizer.
test-threads: test-packages
	@$(call configure,threads,)
	@cmake --build build/threads --target concurrency_tests
	@build/threads/bin/concurrency_tests --gtest_filter='*Threads*' --gtest_brief=1

# FUZZ_SECONDS for each target, from the inputs in fuzz/corpus on; or FUZZ_INPUTS, the same each time.
fuzz: lint-packages
	@$(call configure,clang,)
	@cmake --build build/clang --target esw-sim esw-sim-preload fuzz_library fuzz_board fuzz_eswctl
	@fuzz/run build/clang $(if $(FUZZ_INPUTS),$(FUZZ_INPUTS)x,$(FUZZ_SECONDS))

evidence-packages: test-packages
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
coverage: instrumented with-tests
	@packaging/coverage build/coverage $(BUILD)

# The results are in build/release/bench.
BENCH_SECONDS := 0.1
BENCH_REPETITIONS := 9
bench: packages
	@packaging/install-packages packaging/bench-packages
	@$(call configure,release,-DESW_BENCH=ON)
	@cmake --build $(BUILD) --target esw_bench esw_sim_bench
	@bench/run $(BUILD) $(BENCH_SECONDS) $(BENCH_REPETITIONS)

# DEB_ARCH=arm64 for boards.
deb: packages
	@packaging/install-packages packaging/deb-packages
	@[ $(DEB_ARCH) != arm64 ] || packaging/install-packages packaging/arm64-packages
	@packaging/build-debs $(DEB_ARCH)

# As root: builds the packages again, elsewhere and by other habits, then installs them in a fresh root, uses and purges
# them.
test-deb: deb
	@umask 077 && TZ=Pacific/Auckland LC_ALL=C.UTF-8 packaging/build-debs $(DEB_ARCH) build/deb/again/$(DEB_ARCH) > /dev/null
	@cd build/deb/$(DEB_ARCH) && for package in *.deb; do cmp $$package ../again/$(DEB_ARCH)/$$package || exit 1; done
	@tests/package/debs.sh build/deb/$(DEB_ARCH)

test-musl: packages
	@packaging/install-packages packaging/musl-packages
	@cmake -S . -B build/musl -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/musl.cmake -DESW_TESTS=OFF -DESW_TOOLS=OFF > /dev/null
	@cmake --build build/musl --target esw
	@tests/package/musl.sh $(CURDIR)/build/musl

# The sources of this commit.
dist:
	@mkdir -p build
	@git archive --prefix=libesw-$(VERSION)/ -o build/libesw-$(VERSION).tar.gz HEAD
	@echo build/libesw-$(VERSION).tar.gz

# The loader must hear of a new library.
install: all
	@cmake --install $(BUILD) --prefix $(PREFIX)
	@[ -n "$(DESTDIR)" ] || { PATH=$$PATH:/sbin:/usr/sbin; ldconfig 2> /dev/null; \
		ldconfig -p | grep -q 'libesw.so.0 .*=> $(PREFIX)/'; } || \
		echo "The loader does not know the library yet: run ldconfig as root, or set LD_LIBRARY_PATH" >&2

lint: lint-packages
	@$(call configure,clang,)
	@packaging/lint build/clang

# The reference as HTML, in build/release/doxygen/html. Warnings are errors.
doc: all
	@command -v doxygen > /dev/null || { echo "make doc needs the package doxygen" >&2; exit 1; }
	@doxygen $(BUILD)/Doxyfile

clean:
	@rm -rf build

.PHONY: all with-tests packages test-packages lint-packages evidence-packages instrumented demo test test-machine test-sanitized test-sanitized-library \
	test-threads fuzz abi abi-record coverage bench arm64 test-arm64 test-kernel lint-driver deb test-deb test-musl dist \
	install lint doc clean
