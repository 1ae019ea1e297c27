# The two commands of the README:
#   make test   set up, build everything, run the whole test suite
#   make demo   set up, build, run the tour and a short reconstruction pass
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_ARGS ?=

.PHONY: all setup configure build test demo docs install clean format format-check reco reco-bench \
	sanitize-configure sanitize-build test-sanitize fuzz soak

all: build

configure:
	cmake -S . -B $(BUILD) -G Ninja $$(./scripts/setup.sh) $(CMAKE_ARGS)

build: configure
	cmake --build $(BUILD) -j $(JOBS)

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

demo: build
	mkdir -p $(BUILD)/tour
	OVUTILITY_TOUR_OUTPUT=$(BUILD)/tour $(BUILD)/bin/ovTour
	.venv/bin/python examples/python/tour.py $(BUILD)/tour-python
	$(RECO) all --events 200 --timing --output-dir $(BUILD)/tour/reco

# The reconstruction pass: simulate EVENTS events, then reconstruct them
# sequentially (WORKERS=0) or on a local Dask cluster of WORKERS processes.
EVENTS ?= 1000
WORKERS ?= 0
RECO = .venv/bin/python examples/reco/reco.py --build-dir $(BUILD)
reco: build
	$(RECO) all --events $(EVENTS) --workers $(WORKERS) --timing --output-dir $(BUILD)/reco

# Its throughput: sequential, then on 1 and 2 Dask workers.
reco-bench: build
	.venv/bin/python examples/reco/bench_reco.py --build-dir $(BUILD) --events $(EVENTS) \
	    --output-dir $(BUILD)/reco-bench

# The API reference in $(BUILD)/docs/html, with the tour's pictures.
docs: demo
	OVUTILITY_DOCS_OUTPUT=$(BUILD)/docs OVUTILITY_TOUR_OUTPUT=$(BUILD)/tour doxygen docs/Doxyfile

install: build
	cmake --install $(BUILD)

clean:
	rm -rf $(BUILD)

# The C++ sources in the layout .clang-format describes.
FORMATTED = git ls-files '*.cxx' '*.hxx' '*.h' '*.C'

setup:
	./scripts/setup.sh >/dev/null

format: setup
	$(FORMATTED) | xargs clang-format -i

format-check: setup
	$(FORMATTED) | xargs clang-format --dry-run --Werror

# The whole project built by clang with AddressSanitizer and
# UndefinedBehaviorSanitizer, and with the coverage libFuzzer reads, so that
# the fuzzers and the soak run share this one build.
SANITIZE_BUILD ?= build-sanitize
SANITIZE_FLAGS = -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer
# Allocation stacks are taken the fast way: the slow way deadlocks once the
# interpreter has registered compiled frames (the unwinder allocates under
# its own lock).  Objects whose leaks are intended are made out of line, so
# that their maker's name survives ROOT's allocator, which keeps no frame
# pointer.
SANITIZE_ENV = ASAN_OPTIONS=detect_leaks=1:detect_odr_violation=0 \
	LSAN_OPTIONS=suppressions=$(CURDIR)/test/sanitizers/lsan.supp:print_suppressions=0 \
	UBSAN_OPTIONS=print_stacktrace=1
# Not run sanitized: the stock root executable cannot load a sanitized
# library (root_prompt_macro), nor can the stock Python (python_bindings, the
# Python package and the reconstruction pass), and the consumer builds
# compile outside projects without the sanitizer flags.
SANITIZE_EXCLUDE = ^root_prompt_macro$$|^python_bindings$$|^python_package_|^reco_|^consumer_

sanitize-configure:
	cmake -S . -B $(SANITIZE_BUILD) -G Ninja $$(./scripts/setup.sh) \
	  -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  "-DCMAKE_CXX_FLAGS=$(SANITIZE_FLAGS) -fsanitize=fuzzer-no-link" \
	  "-DCMAKE_EXE_LINKER_FLAGS=$(SANITIZE_FLAGS)" \
	  "-DCMAKE_SHARED_LINKER_FLAGS=$(SANITIZE_FLAGS)" \
	  -DOVUTILITY_FUZZ=ON $(CMAKE_ARGS)

sanitize-build: sanitize-configure
	cmake --build $(SANITIZE_BUILD) -j $(JOBS)

test-sanitize: sanitize-build
	$(SANITIZE_ENV) ctest --test-dir $(SANITIZE_BUILD) --output-on-failure -j $(JOBS) \
	  -E '$(SANITIZE_EXCLUDE)'

# Each fuzzer for FUZZ_SECONDS, FUZZ_JOBS at a time, from the committed
# corpus; new inputs go to $(SANITIZE_BUILD)/fuzz-corpus, findings to
# $(SANITIZE_BUILD)/fuzz-findings.  The statistics end each fuzzer's log.
FUZZ_SECONDS ?= 30
FUZZ_JOBS ?= 2
FUZZ_UNITS = $(patsubst fuzz/fuzz_%.cxx,%,$(wildcard fuzz/fuzz_*.cxx))

fuzz: sanitize-build
	mkdir -p $(SANITIZE_BUILD)/fuzz-findings
	printf '%s\n' $(FUZZ_UNITS) | $(SANITIZE_ENV) xargs -P $(FUZZ_JOBS) -I{} sh -c '\
	  mkdir -p $(SANITIZE_BUILD)/fuzz-corpus/{} && \
	  $(SANITIZE_BUILD)/bin/fuzz_{} -max_total_time=$(FUZZ_SECONDS) -timeout=20 -rss_limit_mb=2560 \
	    -print_final_stats=1 -artifact_prefix=$(SANITIZE_BUILD)/fuzz-findings/{}- \
	    $(SANITIZE_BUILD)/fuzz-corpus/{} fuzz/corpus/{} > $(SANITIZE_BUILD)/fuzz-{}.log 2>&1; \
	  status=$$?; grep -h number_of_executed_units $(SANITIZE_BUILD)/fuzz-{}.log | sed "s/^/{}: /"; \
	  [ $$status -eq 0 ] || { tail -40 $(SANITIZE_BUILD)/fuzz-{}.log; exit 1; }'

# SOAK_ROUNDS random inputs through all the harnesses in one sanitized
# process, with the heap in use reported at intervals.
# SOAK_UNIT, when set, names the one harness to run.
SOAK_ROUNDS ?= 1000000
SOAK_SEED ?= 1

soak: sanitize-build
	$(SANITIZE_ENV) $(SANITIZE_BUILD)/bin/ovSoak $(SOAK_ROUNDS) $(SOAK_SEED) $(SOAK_UNIT)
