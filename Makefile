# Front door over CMake. `make test` and `make run` install what a fresh machine lacks.
BUILD_DIR          ?= build
SANITIZE_BUILD_DIR ?= build-sanitize
RELEASE_BUILD_DIR  ?= build-release
JOBS               ?= $(shell nproc 2>/dev/null || echo 2)
MARL               := ./$(RELEASE_BUILD_DIR)/tools/marl

.PHONY: all build test test-sanitize run bench deps clean

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
	cmake --build $(RELEASE_BUILD_DIR) -j $(JOBS) --target marl_tool marl_example
	@echo "== marl check examples/catalog.xml"
	$(MARL) check examples/catalog.xml
	@echo "== marl render --pretty examples/catalog.xml"
	$(MARL) render --pretty examples/catalog.xml
	@echo "== marl find examples/catalog.xml /catalog/book/dc:title"
	$(MARL) find examples/catalog.xml /catalog/book/dc:title
	@echo "== marl check examples/broken.xml (an element left open on purpose: exit status 1)"
	$(MARL) check examples/broken.xml; test $$? -eq 1
	@echo "== a document built by calls (examples/build_document.cpp)"
	./$(RELEASE_BUILD_DIR)/examples/marl_example

bench: deps
	cmake -S . -B $(RELEASE_BUILD_DIR) -DCMAKE_BUILD_TYPE=Release -DMARL_BUILD_TESTS=OFF -DMARL_BUILD_BENCH=ON
	cmake --build $(RELEASE_BUILD_DIR) -j $(JOBS) --target marl_parse_throughput
	./$(RELEASE_BUILD_DIR)/bench/marl_parse_throughput 10 5

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_BUILD_DIR) $(RELEASE_BUILD_DIR)
