# shellcheck shell=bash
# Shared by the scripts in this folder; to be sourced from the project's root.

# How many compilers and tests run at the same time.
jobs=${ORV_JOBS:-$(nproc)}

# configure PRESET: quick when nothing has changed.
configure() {
  cmake --preset "$1" >/dev/null
}

# build PRESET [TARGET...]
build() {
  local preset=$1
  shift
  configure "$preset" || return
  cmake --build "build/$preset" --parallel "$jobs" ${1:+--target "$@"}
}

# The libFuzzer programs that the fuzz build has made.
fuzz_targets() {
  find build/fuzz/tests/fuzz -maxdepth 1 -type f -executable | sort
}

# fuzz_corpus TARGET: its folder of inputs; JsonFuzz has json.
fuzz_corpus() {
  echo "tests/fuzz/corpus/$(sed -e 's/Fuzz$//' -e 's/\([a-z]\)\([A-Z]\)/\1-\2/g' <<<"$1" | tr '[:upper:]' '[:lower:]')"
}
