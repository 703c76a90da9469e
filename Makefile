# The front door: make demo / make test / make bench / make install PREFIX=dir
.PHONY: all setup build build-release test demo bench install clean

BUILD := build
RELEASE := build-release
PREFIX ?= $(CURDIR)/stage

all: build

setup:
	@bash scripts/setup-machine.sh

build: setup
	@cmake --preset debug >/dev/null
	@cmake --build --preset debug

build-release: setup
	@cmake --preset release >/dev/null
	@cmake --build --preset release

test: build
	@bash scripts/wine-prefix.sh $(CURDIR)/$(BUILD)
	@cd $(BUILD) && ctest --output-on-failure --timeout 900

demo: build
	@bash scripts/wine-prefix.sh $(CURDIR)/$(BUILD)
	@bash scripts/run-demo.sh $(CURDIR)/$(BUILD)

bench: build-release
	@bash scripts/wine-prefix.sh $(CURDIR)/$(RELEASE)
	@bash scripts/run-bench.sh $(CURDIR)/$(RELEASE)

install: build-release
	@cmake --install $(RELEASE) --prefix "$(PREFIX)"

clean:
	rm -rf $(BUILD) $(RELEASE)
