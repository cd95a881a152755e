#!/usr/bin/env bash
# pages.sh completion|manual PROGRAM BUILD: tests a program's completion and manual page. The
# completion function is called as bash calls it. The page must pass every installed formatter
# without a message and describe every option. Skipped (status 77) without a formatter.
set -euo pipefail

program=$2
build=$(cd "$3" && pwd)
PATH=$build:$PATH

fail() {
  echo "$1"
  exit 1
}

# expect "ANSWER|ANSWER" WORD...: the completions of the last word. As in bash, '=' is a word of its
# own.
expect() {
  local answers=$1 got
  shift
  COMP_WORDS=("$program" "$@")
  COMP_CWORD=$#
  "_${program//-/_}" "$program"
  got=$(IFS='|' && echo "${COMPREPLY[*]-}")
  [[ $got == "$answers" ]] || fail "$*: '$got' instead of '$answers'"
}

settings() {
  expect 'My\ Lead' "$@" --preset my
  expect 'Warm\ Jazz' "$@" --preset warm
  expect 'Warm\ Jazz' "$@" --preset 'Warm\ J'
  expect 'Warm Jazz' "$@" --preset '"Warm J'
  expect 'clean|vintage|modern' "$@" --channel ''
  expect vintage "$@" --channel = v
  expect 'vintage.mid=|vintage.master=' "$@" --set VINTAGE.m
  expect 'clean|vintage|modern' "$@" --set channel =
  expect '' "$@" --gain ''  # none: bash completes files
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export XDG_CONFIG_HOME=$scratch
mkdir -p "$scratch/quellard/presets"
echo 'gain = 7' >"$scratch/quellard/presets/My Lead.txt"

case $1/$program in
  completion/*)
    # shellcheck disable=SC1090
    source "$build/share/bash-completion/completions/$program"
    [[ $(complete -p "$program") == *'-o default'* ]] || fail 'no files where nothing else is known'
    ;;&
  completion/quellard)
    settings render in.wav
    settings plot
    expect 'render|sweep|params|programs|presets|info|plot|face|measure|tune|-h|--help|--version' ''
    expect 'presets' prese
    expect 'My\ Lead' presets --show my
    expect '--preset|--presence' render --pres
    expect 'pcm24' render --mono in.wav --format pcm2
    expect 'flac' render --type fl
    expect 'drop\ d|drop\ c#|drop\ c' tune --tuning drop
    expect 'tone|transfer' plot --page t
    expect '1|10|11|12|13|14|15|16' params --program 1
    # Files.
    expect '' render ''
    expect '' render in.wav -o ''
    expect '' plot --out = x
    expect '' render -- -
    ;;
  completion/*) settings ;;
  manual/*)
    page=$build/share/man/man1/$program.1
    tried=0
    for formatter in 'groff -man -Tutf8 -ww' 'mandoc -Tlint -W style' 'man --warnings -l'; do
      command -v "${formatter%% *}" >/dev/null || continue
      tried=1
      said=$($formatter "$page" 2>&1 >/dev/null </dev/null) || fail "$formatter fails: $said"
      [[ -z $said ]] || fail "$formatter complains: $said"
    done
    [[ $tried == 1 ]] || { echo 'no formatter is installed'; exit 77; }
    for section in NAME SYNOPSIS DESCRIPTION OPTIONS 'EXIT STATUS' FILES EXAMPLES; do
      grep -qx "\.SH $section" "$page" || fail "there is no section $section"
    done
    # Every option that the help shows.
    for command in '' $("$program" --help | sed -n '/^Subcommands:/,$s/^  \([a-z]\+\) .*/\1/p'); do
      # shellcheck disable=SC2086
      for option in $("$program" $command --help | grep -oE '^  (-[a-z],)?--[a-z-]+' | grep -oE -- '--[a-z-]+'); do
        grep -qF -- "\\fB${option//-/\\-}\\fR" "$page" || fail "$command $option is left out"
      done
    done
    ;;
esac
