# make run      opens the program with the demo song (SONG=path for another); without a display it
#               converts the song and says where the file is
# make test     builds and runs every test
# make bench    side by side with other renderers and encoders; start-up and memory
# make bench-window
#               how soon the window answers, what it takes, late blocks
# make acceptance
#               converts the demo songs and measures what is in the files with other programs
# make fuzz     fuzzes every reader of bytes from outside (MINUTES=5 each)
# make static   clang-tidy and cppcheck (FOLDERS="src oggenc tools")
# make coverage runs every test of a build that counts, and prints which share of the lines ran; fails
#               below LEAST percent of the engine or the core
# make hostile  opens and converts 200 songs written to break whoever reads them
# make format   puts the sources into the house style
# make install  installs to PREFIX (default /usr/local)

BUILD   ?= build
SONG    ?= songs/a-la-claire-fontaine.mid
MINUTES ?= 5
FOLDERS ?= src oggenc tools
PREFIX  ?= /usr/local
JOBS    ?= $(shell nproc)
BANK    := /usr/share/sounds/sf2/FluidR3_GM.sf2
SMALL_BANK := /usr/share/sounds/sf2/TimGM6mb.sf2
LEAST   ?= 90
SOURCES  = $(shell git ls-files '*.cc' '*.h')

.PHONY: run test bench bench-window acceptance fuzz static coverage hostile format install program
.DEFAULT_GOAL := run

program:
	@scripts/install.sh build run
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release $(CMAKE_FLAGS) >$(BUILD).log 2>&1 || { cat $(BUILD).log; exit 1; }
	@rm -f $(BUILD).log
	@cmake --build $(BUILD) -j $(JOBS)
	@test -e $(BUILD)/program/Orvanel.SF2 || ln -sf $(BANK) $(BUILD)/program/Orvanel.SF2

run: program
	@scripts/run.sh $(BUILD)/program "$(SONG)"

test:
	@scripts/install.sh build test
	@$(MAKE) --no-print-directory program
	@xvfb-run -a -s "-screen 0 1600x1200x24" ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

bench: program
	@scripts/install.sh bench
	@python3 bench/run.py $(BUILD)/program
	@printf '\n### The window, from the start of the program\n\n'
	@xvfb-run -a -s "-screen 0 1600x1200x24" python3 bench/window_start.py $(BUILD)/program $(BANK) 5

bench-window: program
	@scripts/install.sh bench
	@xvfb-run -a -s "-screen 0 1600x1200x24" python3 bench/window_start.py $(BUILD)/program
	@xvfb-run -a -s "-screen 0 1600x1200x24" $(BUILD)/bench/window_bench $(BANK) songs/canon.mid 2 $(SMALL_BANK)
	@xvfb-run -a -s "-screen 0 1600x1200x24" $(BUILD)/bench/lyric_frames songs/a-la-claire-fontaine.mid

acceptance: program
	@scripts/install.sh acceptance
	@python3 scripts/acceptance/files.py $(BUILD)/program songs/*.mid songs/*.kar
	@python3 scripts/acceptance/lyrics.py $(BUILD)/program songs/a-la-claire-fontaine.mid
	@xvfb-run -a -s "-screen 0 1600x1200x24" python3 scripts/acceptance/window.py $(BUILD)

fuzz:
	@scripts/install.sh build fuzz
	@scripts/fuzz.sh $(MINUTES)

hostile: program
	@scripts/install.sh test
	@python3 scripts/hostile_songs.py $(BUILD) /usr/share/sounds/sf2/TimGM6mb.sf2 --jobs $(JOBS)

static:
	@scripts/install.sh build static
	@JOBS=$(JOBS) scripts/check_static.sh $(BUILD) $(FOLDERS)

coverage:
	@scripts/install.sh build test coverage
	@JOBS=$(JOBS) scripts/coverage.sh $(LEAST)

format:
	@scripts/install.sh style
	@clang-format -i $(SOURCES)

install: program
	@cmake --install $(BUILD) --prefix $(PREFIX)
