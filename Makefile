# What people type. Everything else is CMake (see CMakePresets.json).
PREFIX ?= /usr/local
BUILD := build/release
SANITIZED := build/sanitize
JOBS := $(shell nproc)

all: packages
	@cmake --preset release --log-level=WARNING -DCMAKE_INSTALL_PREFIX=$(PREFIX)
	@cmake --build $(BUILD)

# Only what is missing, from packaging/apt-packages.
packages:
	@packaging/install-packages

demo: all
	@docs/demo $(BUILD)/bin

test: all
	@ctest --test-dir $(BUILD) --output-on-failure --parallel $(JOBS) --no-tests=error

# The same tests under the address and undefined-behaviour sanitizers.
test-sanitized: packages
	@cmake --preset sanitize --log-level=WARNING
	@cmake --build $(SANITIZED)
	@ctest --test-dir $(SANITIZED) --output-on-failure --parallel $(JOBS) --no-tests=error

install: all
	@cmake --install $(BUILD) --prefix $(PREFIX)

lint: packages
	@cmake --preset clang --log-level=WARNING
	@packaging/lint build/clang

clean:
	@rm -rf build

.PHONY: all packages demo test test-sanitized install lint clean
