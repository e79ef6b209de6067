# What to make; "make help" prints the lines with two number signs.
## make demo     installs what is missing, builds, renders the show picture, says where it is
## make test     installs what is missing, builds, runs all tests
## make gallery  renders every scene and makes a page of them; WIDTH=1280 makes pictures up to 1280 wide
## make check    looks at formats, pages and pictures of the tree
## make accept   writes new references for test pictures that differ (NAMES="..."): look at them first
## make hard     tries to bring everything down; TIME=600 gives each check at random 600 s
## make format   brings all sources into the house's format
## make clean    removes what was built and rendered

BUILD := build/release
WIDTH := 640
TIME := 60
# Another Python on the path need not have the modules of packages.txt.
PYTHON := /usr/bin/python3
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)
SOURCES = $(shell git ls-files '*.cpp' '*.h')

# Installs the packages of the lines of packages.txt for which a condition holds.
define install
@missing=$$(for p in $$(awk '$(1) { print $$1 }' packages.txt); do \
  dpkg-query -W -f '$${Status}' $$p 2>/dev/null | grep -q 'ok installed' || echo $$p; done); \
if [ -n "$$missing" ]; then \
  echo "installing" $$missing; \
  $(SUDO) apt-get update -q && \
  $(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $$missing; \
fi
endef

.DEFAULT_GOAL := help
.PHONY: help demo gallery test accept hard hard-short build configure packages tool-packages format check check-format clean

help:
	@sed -n 's/^## //p' Makefile

demo: configure
	cmake --build $(BUILD) --target orvane orvane_shaders slide_parts
	@mkdir -p out
	$(BUILD)/orvane render scenes/slide.mi
	@echo "The picture is $(CURDIR)/out/slide.png (and slide.exr beside it)."

gallery: configure
	cmake --build $(BUILD) --target orvane orvane_shaders scene_parts
	$(PYTHON) scenes/make/gallery.py $(BUILD)/orvane out/gallery --width $(WIDTH)

test: build
	ctest --test-dir $(BUILD) --output-on-failure --parallel 2

accept: configure
	cmake --build $(BUILD) --target pictures_tests
	$(BUILD)/pictures_tests --gtest_brief=1 --accept $(NAMES)

hard: tool-packages
	$(PYTHON) tests/hard/hard.py --time $(TIME)

hard-short: tool-packages
	$(PYTHON) tests/hard/hard.py --short

build: configure
	cmake --build $(BUILD)

configure: packages
	cmake --preset release

# Packages of Debian 12; nothing is asked of the system when all are there. Those with the word
# "tools" behind them are for make hard and make check alone.
packages:
	$(call install,NF == 1)

tool-packages:
	$(call install,NF > 0)

format:
	clang-format -i $(SOURCES)

check: tool-packages check-format
	$(PYTHON) scripts/check_pages.py
	$(PYTHON) scripts/check_pictures.py

check-format:
	@clang-format --dry-run -Werror $(SOURCES)

clean:
	rm -rf build out
