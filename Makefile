# The two commands that matter: `make demo` and `make test`. Both install what is missing, configure and build.
PRESET ?= release
BUILD := build/$(PRESET)
JOBS ?= $(shell nproc)
OUT ?= out

.PHONY: all demo test bench fuzz lint format dependencies configure build examples clean

all: build

dependencies:
	tools/install_dependencies.sh

configure: dependencies
	cmake --preset $(PRESET)

build: configure
	cmake --build --preset $(PRESET) -j $(JOBS)

examples: build content/.made
	$(BUILD)/bin/make_examples examples/assets

# The library that ships, with pictures in its presets and a sheet of them; made again when its maker or its table has changed.
content/.made: $(BUILD)/bin/make_content tools/make_content/library.json
	$(BUILD)/bin/make_content tools/make_content/library.json content
	$(BUILD)/bin/velorin sheet content -o content/Library.png --columns 10 --renew
	touch $@

$(BUILD)/bin/make_content: | build

demo: examples
	tools/render_examples.sh $(BUILD)/bin/velorin $(OUT)

test: examples
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

bench:
	tools/install_dependencies.sh bench
	cmake --preset bench
	cmake --build --preset bench -j $(JOBS)
	tools/run_benches.sh build/bench/bin

# FUZZ_SECONDS a target, one after the other.
FUZZ_SECONDS ?= 300
fuzz:
	tools/install_dependencies.sh fuzz
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS)
	tools/run_fuzzers.sh build/fuzz/bin $(FUZZ_SECONDS)

lint:
	tools/install_dependencies.sh lint
	python3 tools/check_includes.py
	git ls-files 'src/*.cpp' 'src/*.h' 'tests/*.cpp' 'tests/*.h' 'bench/*.cpp' 'fuzz/*.cpp' 'tools/*.cpp' 'tools/*.h' \
	  | xargs clang-format --dry-run --Werror

format:
	tools/install_dependencies.sh lint
	git ls-files 'src/*.cpp' 'src/*.h' 'tests/*.cpp' 'tests/*.h' 'bench/*.cpp' 'fuzz/*.cpp' 'tools/*.cpp' 'tools/*.h' \
	  | xargs clang-format -i

clean:
	rm -rf build out content examples/assets
