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
