# Front door: every target installs what is missing first.
BUILD    ?= build
SAN_BUILD ?= build-sanitize
TSAN_BUILD ?= build-tsan
BENCH_TYPE ?= Release
BENCH_BUILD ?= build-bench-$(BENCH_TYPE)
FUZZ_BUILD ?= build-fuzz
I386_BUILD ?= build-i386
I386_ROOT = $(abspath $(I386_BUILD))/sysroot
FUZZ_SECONDS ?= 30
FUZZ_JOBS ?= 2
SDL12_COMPAT = $(abspath $(BUILD))/sdl12-compat
PREFIX   ?= /usr/local
JOBS     ?= $(shell nproc)
CTEST    = ctest --output-on-failure -j$(JOBS)

.PHONY: all deps build demo test test-sdl12-compat test-sanitize test-tsan test-i386 bench fuzz docs \
	install clean

all: build

# What each target needs is installed first (install-deps.sh); DEPS=0 skips that.
DEPS ?= 1
DEPS_FOR = demo
test test-sdl12-compat test-sanitize test-tsan: DEPS_FOR = test
test-i386: DEPS_FOR = test-i386
fuzz: DEPS_FOR = fuzz
bench: DEPS_FOR = bench
docs: DEPS_FOR = docs
deps:
	@[ "$(DEPS)" = 0 ] || sh scripts/install-deps.sh $(DEPS_FOR)

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release
	cmake --build $(BUILD) -j$(JOBS)

# Plays the game's recorded session headless; qzm_demo, the tour, is run by `make test`.
demo: build
	cd $(BUILD)/examples/game && ./qzm_game

test: build
	cd $(BUILD) && $(CTEST)

# The SDL tests again on sdl12-compat (SDL 1.2 over SDL2), unpacked into the build tree;
# ldd shows that its libSDL is the one loaded.
test-sdl12-compat: build
	sh scripts/sdl12-compat.sh $(SDL12_COMPAT)
	LD_LIBRARY_PATH=$(SDL12_COMPAT)/lib ldd $(BUILD)/libqzm.so | grep -F '$(SDL12_COMPAT)/lib/libSDL-1.2.so.0'
	cd $(BUILD) && LD_LIBRARY_PATH=$(SDL12_COMPAT)/lib $(CTEST) -L sdl

test-sanitize: deps
	cmake -S . -B $(SAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DQZM_SANITIZE=ON -DQZM_BUILD_EXAMPLES=OFF
	cmake --build $(SAN_BUILD) -j$(JOBS)
	cd $(SAN_BUILD) && ASAN_OPTIONS=halt_on_error=1:detect_leaks=1 \
		UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 $(CTEST)

# The mixer's tests under ThreadSanitizer: the game's thread against SDL's audio thread.
test-tsan: deps
	cmake -S . -B $(TSAN_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQZM_TSAN=ON \
		-DQZM_BUILD_EXAMPLES=OFF -DQZM_BUILD_TOOLS=OFF
	cmake --build $(TSAN_BUILD) --target qzm_mixer_tests -j$(JOBS)
	cd $(TSAN_BUILD) && TSAN_OPTIONS=halt_on_error=1 $(CTEST) -R '^Mixer'

# The tests again on 32-bit x86 (examples left out), against i386 libraries unpacked into the
# build tree. The 32-bit programs find those libraries, and Mesa its 32-bit driver, through the
# environment; Xvfb keeps loading the machine's own driver.
I386_ENV = LD_LIBRARY_PATH=$(I386_ROOT)/root/usr/lib/i386-linux-gnu:$(I386_ROOT)/root/lib/i386-linux-gnu:$(I386_ROOT)/root/usr/lib/i386-linux-gnu/pulseaudio \
	LIBGL_DRIVERS_PATH=/usr/lib/$(shell gcc -print-multiarch)/dri:$(I386_ROOT)/root/usr/lib/i386-linux-gnu/dri
test-i386: deps
	sh scripts/i386-sysroot.sh $(I386_ROOT)
	sh scripts/i386-binfmt.sh
	QZM_I386_ROOT=$(I386_ROOT) cmake -S . -B $(I386_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
		-DCMAKE_TOOLCHAIN_FILE=$(abspath cmake/i386-toolchain.cmake) -DQZM_BUILD_EXAMPLES=OFF
	$(I386_ENV) cmake --build $(I386_BUILD) -j$(JOBS)
	cd $(I386_BUILD) && $(I386_ENV) $(CTEST)

bench: deps
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=$(BENCH_TYPE) -DQZM_BUILD_BENCH=ON \
		-DQZM_BUILD_TESTS=OFF -DQZM_BUILD_EXAMPLES=OFF
	cmake --build $(BENCH_BUILD) -j$(JOBS)
	for b in $(BENCH_BUILD)/bench/*/qzm_*_bench; do echo "== $$b"; $$b || exit 1; done

fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
		-DQZM_BUILD_FUZZ=ON -DQZM_SANITIZE=ON -DQZM_BUILD_TESTS=OFF -DQZM_BUILD_EXAMPLES=OFF \
		-DQZM_BUILD_TOOLS=OFF
	cmake --build $(FUZZ_BUILD) -j$(JOBS)
	sh scripts/run-fuzz.sh $(FUZZ_BUILD) $(FUZZ_SECONDS) $(FUZZ_JOBS)

# The HTML reference of the public headers, in $(BUILD)/docs/html; a Doxygen warning fails it.
docs: deps
	mkdir -p $(BUILD)/docs
	( cat docs/Doxyfile; echo 'OUTPUT_DIRECTORY = $(BUILD)/docs' ) | doxygen -

# Installs what `make build` built, without building: under sudo nothing in the build tree
# may become root's, so the one file installing writes there goes back to the user.
install:
	@[ -f $(BUILD)/libqzm.so ] || { echo "make install: build first (make build)" >&2; exit 1; }
	cmake --install $(BUILD) --prefix $(PREFIX)
	@if [ -n "$${SUDO_UID:-}" ]; then chown "$$SUDO_UID:$$SUDO_GID" $(BUILD)/install_manifest*.txt; fi
	@if [ "$$(id -u)" -eq 0 ]; then ldconfig; fi

clean:
	rm -rf $(BUILD) $(SAN_BUILD) $(TSAN_BUILD) build-bench-* $(FUZZ_BUILD) $(I386_BUILD)
