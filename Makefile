# make demo   installs what is missing, builds, renders the show picture, says where it is
# make test   installs what is missing, builds, runs all tests
# make gallery renders every scene and makes a page of them; WIDTH=1280 makes pictures up to 1280 wide
# make format brings all sources into the house's format

BUILD := build/release
WIDTH := 640
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)
SOURCES = $(shell git ls-files '*.cpp' '*.h')

.PHONY: demo gallery test build configure packages format check-format clean

demo: configure
	cmake --build $(BUILD) --target orvane orvane_shaders presets
	@mkdir -p out
	$(BUILD)/orvane render scenes/slide.mi
	@echo "The picture is $(CURDIR)/out/slide.png (and slide.exr beside it)."

gallery: configure
	cmake --build $(BUILD) --target orvane orvane_shaders presets
	python3 scenes/make/gallery.py $(BUILD)/orvane out/gallery --width $(WIDTH)

test: build
	ctest --test-dir $(BUILD) --output-on-failure --parallel 2

build: configure
	cmake --build $(BUILD)

configure: packages
	cmake --preset release

# Packages of Debian 12; nothing is asked of the system when all are there.
packages:
	@missing=$$(for p in $$(cat packages.txt); do \
	  dpkg-query -W -f '$${Status}' $$p 2>/dev/null | grep -q 'ok installed' || echo $$p; done); \
	if [ -n "$$missing" ]; then \
	  echo "installing" $$missing; \
	  $(SUDO) apt-get update -q && \
	  $(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $$missing; \
	fi

format:
	clang-format -i $(SOURCES)

check-format:
	clang-format --dry-run -Werror $(SOURCES)

clean:
	rm -rf build out
