# Front door over CMake. `make test` and `make run` install what a fresh machine lacks.
BUILD_DIR          ?= build
SANITIZE_BUILD_DIR ?= build-sanitize
RELEASE_BUILD_DIR  ?= build-release
FUZZ_BUILD_DIR     ?= build-fuzz
VALGRIND_BUILD_DIR ?= build-valgrind
FUZZ_SECONDS       ?= 900
FUZZ_TARGETS       := fuzz_parse fuzz_encoding fuzz_path
JOBS               ?= $(shell nproc 2>/dev/null || echo 2)
MARL               := ./$(RELEASE_BUILD_DIR)/tools/marl

.PHONY: all build test test-sanitize test-valgrind run bench fuzz deps clean

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

# The whole suite under memcheck, in a tree of its own so that builds elsewhere do not change
# the library under a run. A test fails on any error or on a definite or indirect leak. Left
# out are the two tests that run shell scripts (the tool's commands, the installation), which
# would check bash and cmake rather than the library, and the one that asks operator new for
# an impossible block: memcheck's operator new cannot throw and ends the process instead. The
# allocation sweep brings its own operator new, which memcheck must leave in place
# (nouserintercepts); the suppressions cover the whole-vector reads of glibc's string routines.
VALGRIND_SKIP    := ^(marl_tool_commands|install_serves_consumers|DefaultRollArea\.ExhaustionRaisesBadAlloc)$$
VALGRIND_OPTIONS := --leak-check=full --errors-for-leak-kinds=definite,indirect --error-exitcode=1 \
  --soname-synonyms=somalloc=nouserintercepts --suppressions=$(CURDIR)/tests/valgrind.supp

test-valgrind:
	@./scripts/install-deps valgrind
	cmake -S . -B $(VALGRIND_BUILD_DIR) -DCMAKE_BUILD_TYPE=Debug
	nice cmake --build $(VALGRIND_BUILD_DIR) -j $(JOBS)
	cd $(VALGRIND_BUILD_DIR) && nice ctest -T memcheck -j $(JOBS) -E '$(VALGRIND_SKIP)' \
	  --overwrite MemoryCheckCommand=$$(command -v valgrind) \
	  --overwrite "MemoryCheckCommandOptions=$(VALGRIND_OPTIONS)"

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

# The peers and the two real-world documents come from Debian packages.
BENCH_PACKAGES := libxml2-dev libpugixml-dev libxerces-c-dev libexpat1-dev shared-mime-info iso-codes

bench:
	@./scripts/install-deps $(BENCH_PACKAGES)
	cmake -S . -B $(RELEASE_BUILD_DIR) -DCMAKE_BUILD_TYPE=Release -DMARL_BUILD_TESTS=OFF -DMARL_BUILD_BENCH=ON
	cmake --build $(RELEASE_BUILD_DIR) -j $(JOBS) --target marl_bench
	./$(RELEASE_BUILD_DIR)/bench/marl_bench $(BENCH_ARGS)

# Each target runs FUZZ_SECONDS on a copy of its seeds, so that the corpus it grows stays out of
# the tree, with fuzz/TARGET.dict when there is one; findings land in
# $(FUZZ_BUILD_DIR)/artifacts-TARGET/.
fuzz:
	cmake -S . -B $(FUZZ_BUILD_DIR) -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++ \
	  -DMARL_FUZZ=ON -DMARL_BUILD_TESTS=OFF
	cmake --build $(FUZZ_BUILD_DIR) -j $(JOBS) --target $(FUZZ_TARGETS)
	@for target in $(FUZZ_TARGETS); do \
	  mkdir -p $(FUZZ_BUILD_DIR)/corpus/$$target $(FUZZ_BUILD_DIR)/artifacts-$$target && \
	  cp fuzz/corpus/$$target/* $(FUZZ_BUILD_DIR)/corpus/$$target/ && \
	  echo "== $$target for $(FUZZ_SECONDS) s" && \
	  ./$(FUZZ_BUILD_DIR)/fuzz/$$target -max_total_time=$(FUZZ_SECONDS) -timeout=20 \
	    -rss_limit_mb=4096 -print_final_stats=1 \
	    $$(test -f fuzz/$$target.dict && echo -dict=fuzz/$$target.dict) \
	    -artifact_prefix=$(FUZZ_BUILD_DIR)/artifacts-$$target/ \
	    $(FUZZ_BUILD_DIR)/corpus/$$target > $(FUZZ_BUILD_DIR)/$$target.log 2>&1; \
	  status=$$?; \
	  grep -E '^#[0-9]+[[:space:]]+[A-Z]+[[:space:]]+cov:' $(FUZZ_BUILD_DIR)/$$target.log | tail -n 1 \
	    | sed -E 's/^#([0-9]+)[[:space:]]+[A-Z]+[[:space:]]+(cov: [0-9]+ ft: [0-9]+).*/   executions: \1  coverage: \2/'; \
	  if [ $$status -ne 0 ]; then \
	    echo "   FAILED (status $$status): see $(FUZZ_BUILD_DIR)/$$target.log"; \
	    grep -E 'ERROR|SUMMARY|Test unit written' $(FUZZ_BUILD_DIR)/$$target.log | head -n 5; \
	    failed=1; \
	  fi; \
	done; exit $${failed:-0}

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_BUILD_DIR) $(RELEASE_BUILD_DIR) $(FUZZ_BUILD_DIR) $(VALGRIND_BUILD_DIR)
