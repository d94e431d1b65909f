# Two commands do all set-up: `make demo` and `make test`. Both install what is missing first.

SHELL := /bin/bash
JOBS ?= $(shell nproc)
WERROR := $(if $(CI),ON,OFF)
SHARED := ../shared
APT_PACKAGES := cmake g++ make pkg-config qt6-base-dev libgtest-dev libgmock-dev libbenchmark-dev \
	libpugixml-dev chromium fonts-dejavu-core fonts-liberation libjs-excanvas python3 valgrind clang \
	libclang-rt-14-dev time locales dpkg-dev man-db file
EXAMPLE := examples/breast_cancer_analysisReport.xml
VERSION := $(shell sed -n 's/^project.anarep VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
PACKAGE := dist/anarep_$(VERSION)-1_$(shell dpkg --print-architecture).deb

.PHONY: all deps build build-asan test test-unit test-asan test-web test-conformance demo \
	bench fuzz fuzz-smoke screenshots bundle package test-package clean

all: build

# Installs only what is missing: Debian packages (when root) and the pinned npm packages.
# `file` is for the package step: CPack's DEB generator finds the program's library dependencies with it.
deps:
	@missing=""; for p in $(APT_PACKAGES); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "install ok installed" || missing="$$missing $$p"; \
	done; \
	command -v node >/dev/null || missing="$$missing nodejs"; \
	command -v npm >/dev/null || missing="$$missing npm"; \
	if [ -n "$$missing" ]; then \
	  if [ "$$(id -u)" = 0 ]; then \
	    echo "Installing:$$missing"; \
	    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $$missing; \
	  else \
	    echo "Missing packages:$$missing (run as root, or install them with apt-get)"; exit 1; \
	  fi; \
	fi
	@# A comma-decimal locale, without which the tests that keep the process locale out of numbers skip.
	@if [ "$$(id -u)" = 0 ] && ! locale -a | grep -qi '^de_DE\.utf-\?8$$'; then \
	  localedef -i de_DE -c -f UTF-8 de_DE.UTF-8; \
	fi
	@if [ ! -d web/node_modules ] || [ web/package-lock.json -nt web/node_modules/.package-lock.json ]; then \
	  (cd web && npm ci --no-audit --no-fund --loglevel=error); \
	fi

build: deps
	cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DANAREP_WERROR=$(WERROR) -DANAREP_BENCH=ON >/dev/null
	cmake --build build -j$(JOBS)

build-asan: deps
	cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DANAREP_SANITIZE=ON -DANAREP_WERROR=$(WERROR) >/dev/null
	cmake --build build-asan -j$(JOBS)

test-unit: build
	cd build && ctest --output-on-failure -j$(JOBS)

test-asan: build-asan
	cd build-asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --output-on-failure -j$(JOBS)

test-web: build
	cd web && ANAREP=$(CURDIR)/build/anarep node --test --test-concurrency=1 tests/

# The shared conformance cases, when the shared folder sits beside the project.
test-conformance: build
	@if [ -x $(SHARED)/conformance/check ]; then \
	  ANAREP=$(CURDIR)/build/anarep $(SHARED)/conformance/check; \
	else echo "no $(SHARED)/conformance: skipped"; fi

# The Debian package of a release build (no tests built), its files and its program checked.
package: deps
	cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release -DANAREP_TESTS=OFF -DANAREP_WERROR=$(WERROR) >/dev/null
	cmake --build build-release -j$(JOBS)
	rm -f build-release/anarep_*.deb
	cd build-release && cpack -G DEB >/dev/null
	mkdir -p dist && cp build-release/$(notdir $(PACKAGE)) $(PACKAGE)
	@echo "Package: $(PACKAGE)"

test-package: package
	tools/check-package $(PACKAGE)

test: test-unit test-asan test-web test-conformance fuzz-smoke test-package

# Only the program itself: the demo does not wait for every test program to compile.
demo: deps
	cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DANAREP_WERROR=$(WERROR) -DANAREP_BENCH=ON >/dev/null
	cmake --build build -j$(JOBS) --target anarep
	@rm -rf out/demo && mkdir -p out/demo && cp examples/*_analysisReport.xml examples/*_graphs.xml out/demo/
	@cp -r examples/*_images out/demo/ 2>/dev/null || true
	@cd out/demo && ../../build/anarep $(notdir $(EXAMPLE))
	@page=$(CURDIR)/out/demo/$(notdir $(basename $(EXAMPLE))).html; \
	  echo "Page: $$page"; echo "Open: file://$$page"

bench: build
	cd bench && ./run-all

fuzz:
	$(MAKE) -C fuzz run SECONDS=$${FUZZ_SECONDS:-60}

fuzz-smoke:
	@if [ -f fuzz/Makefile ]; then $(MAKE) -C fuzz run SECONDS=5; fi

screenshots: build
	cd web && node tools/screenshots.mjs

bundle: deps
	cd web && ./build-bundle

clean:
	rm -rf build build-asan build-fuzz build-release out dist
