# Front door over CMake. `make test` and `make run` install what a fresh machine lacks.
BUILD_DIR          ?= build
SANITIZE_BUILD_DIR ?= build-sanitize
RELEASE_BUILD_DIR  ?= build-release
JOBS               ?= $(shell nproc 2>/dev/null || echo 2)

.PHONY: all build test test-sanitize run deps clean

all: build

deps:
	@./scripts/install-deps

build: deps
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=Debug
	cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

test-sanitize: deps
	cmake -S . -B $(SANITIZE_BUILD_DIR) -DCMAKE_BUILD_TYPE=Debug -DMARL_SANITIZE=ON
	cmake --build $(SANITIZE_BUILD_DIR) -j $(JOBS)
	cd $(SANITIZE_BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

run: deps
	cmake -S . -B $(RELEASE_BUILD_DIR) -DCMAKE_BUILD_TYPE=Release -DMARL_BUILD_TESTS=OFF
	cmake --build $(RELEASE_BUILD_DIR) -j $(JOBS) --target marl_example
	./$(RELEASE_BUILD_DIR)/examples/marl_example

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_BUILD_DIR) $(RELEASE_BUILD_DIR)
