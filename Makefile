# lldpv2mib: `make run` starts the SNMP agent on the default scenario,
# `make test` installs what is missing, builds, and runs every test.

SHELL := /bin/bash
JOBS ?= $(shell nproc)
BUILD ?= build
SAN_BUILD ?= build-san
# Benchmarks run on an optimised (-O3) build of their own, warnings as errors.
RELEASE_BUILD ?= build-release
FUZZ_BUILD ?= build-fuzz
FUZZ_TARGETS := lldpdu scenario dispatcher instance
# make fuzz: how long each target runs; make test: the smoke run of each.
FUZZ_SECONDS ?= 300
FUZZ_SMOKE_SECONDS ?= 5
MIBS ?= $(abspath ../shared/mibs)
PORT ?= 1161
# make run: the scenario (default: the built-in one) and a write community (default: none).
SCENARIO ?=
RWCOMMUNITY ?=
# make install: where, and a staging root.
PREFIX ?= /usr/local
DESTDIR ?=

DEB_PACKAGES := cmake make g++ pkg-config libgtest-dev libgmock-dev libbenchmark-dev \
	libsnmp-dev snmp snmpd libsmi2-dev smitools libyaml-cpp-dev libyaml-dev libcli11-dev libpcap-dev tshark valgrind snmptrapd \
	clang libclang-rt-14-dev
# The live tests: namespaces and veths, scapy as the independent LLDP peer.
DEB_PACKAGES += iproute2 util-linux python3 python3-scapy

# Only `make deb` needs these.
DEB_BUILD_PACKAGES := debhelper devscripts lintian fakeroot dpkg-dev

SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

.PHONY: all deps deb-deps build build-release build-san build-fuzz fuzz fuzz-smoke test san-test run run-live install deb clean regen-mibtrees bench bench-snmp bench-ctl bench-idle bench-memory

all: build

deps:
	@missing=$$(for p in $(DEB_PACKAGES); do dpkg-query -W -f='$${Status}\n' $$p 2>/dev/null | grep -q 'install ok installed' || echo $$p; done); \
	if [ -n "$$missing" ]; then \
	  echo "Installing: $$missing"; \
	  $(SUDO) apt-get update -qq && \
	  DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq --no-install-recommends $$missing; \
	fi

$(BUILD)/CMakeCache.txt:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLLDPV2_MIBS_DIR=$(MIBS)

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

$(RELEASE_BUILD)/CMakeCache.txt:
	cmake -S . -B $(RELEASE_BUILD) -DCMAKE_BUILD_TYPE=Release -DLLDPV2_WERROR=ON -DLLDPV2_MIBS_DIR=$(MIBS)

build-release: deps $(RELEASE_BUILD)/CMakeCache.txt
	cmake --build $(RELEASE_BUILD) -j $(JOBS)

$(SAN_BUILD)/CMakeCache.txt:
	cmake -S . -B $(SAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DLLDPV2_SANITIZE=ON -DLLDPV2_WERROR=ON -DLLDPV2_BUILD_AGENT=OFF \
	  -DLLDPV2_BUILD_BENCH=OFF -DLLDPV2_MIBS_DIR=$(MIBS)

build-san: deps $(SAN_BUILD)/CMakeCache.txt
	cmake --build $(SAN_BUILD) -j $(JOBS) --target unit_tests lldpv2mib lldpv2host ctl_unit_tests

# Every test of the normal build, then the unit tests again under
# AddressSanitizer and UndefinedBehaviorSanitizer (both builds treat
# warnings as errors), then a short run of each fuzz target on its
# committed corpus and regression inputs.
test: deps $(BUILD)/CMakeCache.txt
	cmake -S . -B $(BUILD) -DLLDPV2_WERROR=ON
	cmake --build $(BUILD) -j $(JOBS)
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)
	$(MAKE) --no-print-directory san-test
	$(MAKE) --no-print-directory fuzz-smoke

# libFuzzer targets, built with clang, ASan and UBSan in their own directory.
$(FUZZ_BUILD)/CMakeCache.txt:
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLLDPV2_FUZZ=ON \
	  -DLLDPV2_MIBS_DIR=$(MIBS)

build-fuzz: deps $(FUZZ_BUILD)/CMakeCache.txt
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target fuzzers

FUZZ_ENV := ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
# Long runs skip recording where each block was allocated (a third of the
# time of the allocation-heavy targets); a crash input replayed under
# FUZZ_ENV shows the full report.
FUZZ_RUN_ENV := ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:malloc_context_size=0 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

# Each target for FUZZ_SECONDS from the committed corpus (fuzz/corpus/NAME);
# what it finds goes to $(FUZZ_BUILD)/corpus/NAME, crashes to
# $(FUZZ_BUILD)/crashes/NAME (copy a crash to fuzz/regressions/NAME once fixed).
# Scenario inputs stay under 4 KB: a mutation of the 12 KB default scenario
# takes about six times as long as one of a short file, which exercises the
# same loader paths.
fuzz: build-fuzz
	@for t in $(FUZZ_TARGETS); do \
	  mkdir -p $(FUZZ_BUILD)/corpus/$$t $(FUZZ_BUILD)/crashes/$$t; \
	  echo "== fuzz_$$t, $(FUZZ_SECONDS) s"; \
	  $(FUZZ_RUN_ENV) $(FUZZ_BUILD)/fuzz/fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 $$(test $$t = scenario && echo -max_len=4096) \
	    -artifact_prefix=$(FUZZ_BUILD)/crashes/$$t/ $$(test -f fuzz/$$t.dict && echo -dict=fuzz/$$t.dict) \
	    $(FUZZ_BUILD)/corpus/$$t fuzz/corpus/$$t || exit 1; \
	done

# Every regression input once, then each target a few seconds from its
# committed corpus (new inputs go to a scratch directory).
fuzz-smoke: build-fuzz
	@for t in $(FUZZ_TARGETS); do \
	  if ls fuzz/regressions/$$t/* >/dev/null 2>&1; then \
	    $(FUZZ_ENV) $(FUZZ_BUILD)/fuzz/fuzz_$$t fuzz/regressions/$$t/* >$(FUZZ_BUILD)/regressions-$$t.log 2>&1 \
	      || { cat $(FUZZ_BUILD)/regressions-$$t.log; echo "fuzz_$$t: a regression input fails"; exit 1; }; \
	  fi; \
	  scratch=$$(mktemp -d); \
	  $(FUZZ_ENV) $(FUZZ_BUILD)/fuzz/fuzz_$$t -max_total_time=$(FUZZ_SMOKE_SECONDS) -print_final_stats=1 \
	    -artifact_prefix=$$scratch/ $$scratch fuzz/corpus/$$t >$(FUZZ_BUILD)/smoke-$$t.log 2>&1 \
	    || { cat $(FUZZ_BUILD)/smoke-$$t.log; rm -rf $$scratch; echo "fuzz_$$t: smoke run failed"; exit 1; }; \
	  rm -rf $$scratch; \
	  echo "fuzz_$$t: $$(grep -o 'stat::number_of_executed_units: [0-9]*' $(FUZZ_BUILD)/smoke-$$t.log | grep -o '[0-9]*$$') runs, $$(grep -o 'cov: [0-9]*' $(FUZZ_BUILD)/smoke-$$t.log | tail -1)"; \
	done
	@echo "fuzz smoke: all $(words $(FUZZ_TARGETS)) targets ran clean"

san-test: build-san
	cd $(SAN_BUILD) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --output-on-failure -j $(JOBS) -L unit

run: build
	@$(BUILD)/agent/lldpv2-agent --print-usage-hints --listen udp:127.0.0.1:$(PORT) --mibs $(MIBS) \
	  $(if $(SCENARIO),--scenario $(SCENARIO)) $(if $(RWCOMMUNITY),--rwcommunity $(RWCOMMUNITY))

# Installs under PREFIX (staged under DESTDIR when given). The build tree is
# configured for that prefix first, so the service unit names the right paths.
install: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLLDPV2_MIBS_DIR=$(MIBS) -DCMAKE_INSTALL_PREFIX=$(PREFIX)
	cmake --build $(BUILD) -j $(JOBS)
	DESTDIR=$(DESTDIR) cmake --install $(BUILD)

deb-deps: deps
	@missing=$$(for p in $(DEB_BUILD_PACKAGES); do dpkg-query -W -f='$${Status}\n' $$p 2>/dev/null | grep -q 'install ok installed' || echo $$p; done); \
	if [ -n "$$missing" ]; then \
	  echo "Installing: $$missing"; \
	  $(SUDO) apt-get update -qq && \
	  DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq --no-install-recommends $$missing; \
	fi

# Builds the Debian package (binary only, unsigned) from a copy of the tree
# in $(BUILD)/deb (a fixed place, so that ccache serves the next build) into
# dist/deb/ and checks it with lintian.
deb: deb-deps
	@stage=$(abspath $(BUILD))/deb && rm -rf "$$stage" && mkdir -p "$$stage/src" && \
	tar -C . --exclude=./.git --exclude='./build*' --exclude=./dist/deb --exclude=./obj-\* -cf - . | tar -C "$$stage/src" -xf - && \
	(cd "$$stage/src" && LLDPV2_MIBS_DIR=$(MIBS) DEB_BUILD_OPTIONS="parallel=$(JOBS) nocheck" \
	  dpkg-buildpackage -b -us -uc) && \
	rm -rf dist/deb && mkdir -p dist/deb && cp "$$stage"/*.deb "$$stage"/*.changes "$$stage"/*.buildinfo dist/deb/
	lintian --fail-on error $$(ls dist/deb/lldpv2mib_*.deb)

# LLDP on real interfaces, as root: make run-live IF=eth0 (or IF=eth0,eth1,
# or IF=all). The agent sends LLDP frames on them: only interfaces you own.
IF ?=
run-live: build
	@if [ -z "$(IF)" ]; then \
	  echo "usage: make run-live IF=eth0[,eth1...|all]  (LLDP frames are sent on these interfaces: only ones you own)"; \
	  exit 2; \
	fi
	$(SUDO) $(BUILD)/agent/lldpv2-agent --interfaces $(IF) -v --print-usage-hints --listen udp:127.0.0.1:$(PORT) --mibs $(MIBS)

bench: build-release
	$(RELEASE_BUILD)/bench/module_bench
	$(RELEASE_BUILD)/bench/daemon_bench
	$(RELEASE_BUILD)/bench/request_alloc_bench
	$(RELEASE_BUILD)/bench/subtable_bench

# Rewrites module/mibtrees from the MIB modules.
regen-mibtrees: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) --target regen-mibtrees

# The agent against net-snmp serving the same varbinds from memory: bulk
# walks of the remote systems data at 1,000, 10,000 and 50,000 neighbours.
bench-snmp: build-release
	bench/snmp_bench.sh --build $(RELEASE_BUILD)

# lldpv2ctl neighbors on 1,000 neighbours, against a plain snmpbulkwalk.
bench-ctl: build-release
	bench/ctl_bench.sh --build $(RELEASE_BUILD)

# Resident memory and load time of the agent with 1,000 to 100,000
# neighbours, and the drift of the resident set over a churn soak.
bench-memory: build-release
	bench/memory_bench.sh --build $(RELEASE_BUILD)

# CPU use of the idle agent with 100 refreshed neighbours (60 s).
bench-idle: build-release
	bench/idle_cpu.sh --build $(RELEASE_BUILD)

clean:
	rm -rf $(BUILD) $(RELEASE_BUILD) $(SAN_BUILD) $(FUZZ_BUILD) dist/deb
