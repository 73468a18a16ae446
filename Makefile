# The two commands: `make run` and `make test`. Both install missing Debian packages first.

BUILD_DIR      ?= build
TEST_BUILD_DIR ?= build-asan
JOBS           ?= $(shell nproc)

CMAKE_COMMON = -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo

.PHONY: run test bench deps build build-tests format clean

run: build
	./$(BUILD_DIR)/kelvane-cli/kelvane-cli --help

test: build-tests
	cd $(TEST_BUILD_DIR) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure --timeout 600 -j $(JOBS)

# Times our CLI against the plain command-line tools on the same inputs (not a test).
bench: build
	@bash scripts/install-deps.sh --bench
	KELVANE_CLI=$(BUILD_DIR)/kelvane-cli/kelvane-cli bash bench/documents.sh
	KELVANE_CLI=$(BUILD_DIR)/kelvane-cli/kelvane-cli bash bench/images.sh

deps:
	@bash scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD_DIR) $(CMAKE_COMMON) -DKELVANE_BUILD_TESTS=OFF
	cmake --build $(BUILD_DIR) -j $(JOBS)

# Tests build with warnings as errors and with AddressSanitizer and UBSan.
build-tests: deps
	cmake -S . -B $(TEST_BUILD_DIR) $(CMAKE_COMMON) -DKELVANE_WERROR=ON -DKELVANE_SANITIZE=ON
	cmake --build $(TEST_BUILD_DIR) -j $(JOBS)

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD_DIR) $(TEST_BUILD_DIR)
