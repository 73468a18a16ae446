# The two commands: `make run` and `make test`. Both install missing Debian packages first.

BUILD_DIR      ?= build
TEST_BUILD_DIR ?= build-asan
JOBS           ?= $(shell nproc)

CMAKE_COMMON = -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo

FUZZ_SECONDS   ?= 600

.PHONY: run test fuzz fuzz-smoke corruption bench deps build build-tests format clean

run: build
	./$(BUILD_DIR)/Kelvane/kelvane

# Every fuzz target for 30 s first, then the whole suite, ending with its summary.
test: build-tests fuzz-smoke
	cd $(TEST_BUILD_DIR) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure --timeout 600 -j $(JOBS)

# Times our CLI against the plain command-line tools on the same inputs (not a test).
bench: build
	@bash scripts/install-deps.sh --bench
	KELVANE_CLI=$(BUILD_DIR)/kelvane-cli/kelvane-cli bash bench/documents.sh
	KELVANE_CLI=$(BUILD_DIR)/kelvane-cli/kelvane-cli bash bench/archives.sh
	KELVANE_CLI=$(BUILD_DIR)/kelvane-cli/kelvane-cli bash bench/media.sh
	KELVANE_CLI=$(BUILD_DIR)/kelvane-cli/kelvane-cli bash bench/images.sh
	KELVANE_CLI=$(BUILD_DIR)/kelvane-cli/kelvane-cli bash bench/startup.sh

# Each fuzz target for FUZZ_SECONDS (make fuzz FUZZ_SECONDS=3600).
fuzz: deps
	bash scripts/fuzz.sh $(FUZZ_SECONDS)

fuzz-smoke: deps
	bash scripts/fuzz.sh 30

# Every damaged variant of every format through every recipe that takes it (`make test`
# runs a quick share of it).
corruption: build
	python3 tests/corruption/corruption_corpus.py --cli $(BUILD_DIR)/kelvane-cli/kelvane-cli

deps:
	@bash scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD_DIR) $(CMAKE_COMMON) -DKELVANE_BUILD_TESTS=OFF
	cmake --build $(BUILD_DIR) -j $(JOBS)

# Tests build with warnings as errors and with AddressSanitizer and UBSan, optimised lightly
# and with line tables only: a third less compile time, and reports still name the lines.
TEST_FLAGS = -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1 -DNDEBUG"

build-tests: deps
	cmake -S . -B $(TEST_BUILD_DIR) $(CMAKE_COMMON) $(TEST_FLAGS) -DKELVANE_WERROR=ON -DKELVANE_SANITIZE=ON
	cmake --build $(TEST_BUILD_DIR) -j $(JOBS)

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD_DIR) $(TEST_BUILD_DIR) build-fuzz
