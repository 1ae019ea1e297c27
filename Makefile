# The two commands of the README:
#   make test   set up, build everything, run the whole test suite
#   make demo   set up, build, run the tour and a short reconstruction pass
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_ARGS ?=

.PHONY: all setup configure build test demo docs install clean format format-check reco reco-bench

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
