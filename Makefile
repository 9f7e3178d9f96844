# A thin face of the CMake presets. `make run` and `make test` need nothing but Debian 12 with root
# or sudo: what is missing is installed first.

PRESET ?= dev
BOARD ?= boards/tarn-12bay.toml
JOBS ?= $(shell nproc)
# Tests wait for clocks and for each other more than for a processor.
TEST_JOBS ?= $(shell expr 2 \* $(JOBS))

.PHONY: help run test setup build armhf-sysroot format format-check tidy clean

help:
	@echo 'make run [BOARD=FILE]     build everything and print what a simulated board is'
	@echo 'make test [PRESET=NAME]   build and run the tests: dev, asan, tsan or armhf'
	@echo 'make build [PRESET=NAME]  build only'
	@echo 'make format               format the sources; make format-check only looks'
	@echo 'make tidy                 clang-tidy over the library, the simulator and the tools'

run: build
	build/$(PRESET)/bin/boardsim $(BOARD) -- build/$(PRESET)/bin/boardctl report

test: build
	ctest --preset $(PRESET) --parallel $(TEST_JOBS) $(CTEST_ARGS)

setup:
	@scripts/setup

build: setup $(if $(filter armhf,$(PRESET)),armhf-sysroot)
	cmake --preset $(PRESET)
	cmake --build --preset $(PRESET) --parallel $(JOBS) $(if $(TARGETS),--target $(TARGETS))

armhf-sysroot:
	@scripts/armhf-sysroot build/armhf-sysroot

format format-check tidy:
	@scripts/$@

clean:
	rm -rf build
