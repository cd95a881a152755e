# Sourced by the other scripts: where the tree is, and the one way to configure and build it.
# shellcheck shell=bash
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# The folders of the core, and every folder that holds C++.
core=(shell params dsp channels engine)
# shellcheck disable=SC2034
sources=("${core[@]}" rig face adapters tools python page bench examples tests)

cores() { nproc 2>/dev/null || sysctl -n hw.ncpu; }

# configure PRESET: nothing where it has been done since the presets changed or packages arrived,
# with which more can be built. Afresh, so that nothing lingers that older presets set.
configure() {
  local made=$root/build/$1/build.ninja
  [[ -e $made && ! $made -ot $root/CMakePresets.json && ! $made -ot $root/build/packages ]] && return
  (cd "$root" && cmake --fresh --preset "$1" >/dev/null)
}

# build PRESET [TARGET...]: silent where nothing is to be done.
build() {
  local preset=$1 targets=("${@:2}")
  [[ ${#targets[@]} != 0 ]] || targets=(all)
  configure "$preset"
  ninja -C "$root/build/$preset" -n "${targets[@]}" | grep -q 'no work to do' && return
  (cd "$root" && cmake --build --preset "$preset" --target "${targets[@]}" >&2)
}

# cpp_files FOLDER...: their headers and sources, one a line.
cpp_files() {
  (cd "$root" && find "$@" -name '*.h' -o -name '*.cpp' | sort)
}

# What comes from npm, in the versions of page/package-lock.json: for the page, its tests, and the
# layout of JavaScript.
# shellcheck disable=SC2034
npm=$root/build/page-npm
install_npm() {
  mkdir -p "$npm"
  cp "$root"/page/package{,-lock}.json "$npm"
  if [[ ! $npm/node_modules/.package-lock.json -nt $root/page/package-lock.json ]]; then
    (cd "$npm" && npm ci --silent --no-audit --no-fund)
  fi
}
