#!/usr/bin/env bash
# hosts.sh CASE BUILD [EMULATOR...]: Debian's own hosts run the built formats and must give the samples
# of `quellard render`, to the last float bit. Skipped (status 77) where a host is not installed. With an
# emulator, the hosts are those that scripts/arm has put into its root, the emulator's last argument.
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=$(cd "$2" && pwd)
quellard=$build/quellard
emulator=("${@:3}")
mono=urn:quellard:amplifier
stereo=urn:quellard:amplifier-stereo
export LV2_PATH=$build/lv2:/usr/lib/lv2

needs() {
  local program
  for program in "$@"; do
    command -v "$program" >/dev/null || { echo "$program is not installed"; exit 77; }
  done
}

needs sndfile-convert sndfile-cmp
takes=/usr/share/sonic-pi/samples
[[ -e $takes ]] || { echo "sonic-pi-samples is not installed"; exit 77; }
scratch=$(mktemp -d)
servers=()
# The last one first: a JACK client cannot end properly without its server.
finish() {
  for ((i = ${#servers[@]} - 1; i >= 0; --i)); do
    kill "${servers[i]}" 2>/dev/null || continue
    for ((n = 0; n < 20; ++n)); do
      kill -0 "${servers[i]}" 2>/dev/null || continue 2
      sleep 0.1
    done
    kill -KILL "${servers[i]}" 2>/dev/null || true
  done
  rm -rf "$scratch"
}
trap finish EXIT
cd "$scratch"
# Keeps the presets and settings of the user who tests out of the tests.
export XDG_CONFIG_HOME=$scratch/config XDG_STATE_HOME=$scratch/state
mkdir -p "$XDG_CONFIG_HOME/quellard/presets"
unset DISPLAY  # that of the user who tests
host_root=
if [[ ${#emulator[@]} != 0 ]]; then
  host_root=${emulator[-1]}
  PATH=$host_root/programs:$PATH
  QT_PLUGIN_PATH=$(echo "$host_root"/usr/lib/*/qt5/plugins)
  export QT_PLUGIN_PATH
fi
mkfifo display.fifo
sndfile-convert -float32 $takes/guit_harmonics.flac mono.wav
sndfile-convert -float32 $takes/guit_e_fifths.flac stereo.wav

# MASTER at 4.39: the float 4.39 divided by 10 is not the float 0.439.
knobs=(--channel vintage --gain 7.39 --master 4.39)
ports=(type=1 vintage_gain=7.39 vintage_master=4.39)

# expect FILE RENDER-ARGUMENT...: FILE holds the samples of this render.
expect() {
  "$quellard" render -q -o expected.wav "${@:2}"
  sndfile-cmp "$1" expected.wav
}

serve() {
  export JACK_DEFAULT_SERVER=quellard-test-$$ JACK_NO_AUDIO_RESERVATION=1
  jackd -r -S -t 60000 -d dummy -r 44100 -p 256 >jackd.log 2>&1 &
  servers+=($!)
  local n
  for ((n = 0; n < 20; ++n)); do
    jack_wait -w -t 20 >/dev/null 2>&1 && return
    sleep 0.5
  done
  cat jackd.log
  return 1
}

# A display of its own, without a screen.
display() {
  exec 4<>display.fifo
  Xvfb -displayfd 4 -noreset -screen 0 1600x1200x24 >xvfb.log 2>&1 &
  servers+=($!)
  local number
  read -r -t 60 number <&4
  export DISPLAY=:$number
}

# Waits until the face's window is there and where it stays, and prints its number.
face_window() {
  local n found place=none before
  for ((n = 0; n < 200; ++n)); do
    sleep 0.2
    before=$place
    found=$(xdotool search --onlyvisible --name "^$1\$" 2>/dev/null | tail -n 1)
    [[ -n $found ]] || continue
    place=$(xdotool getwindowgeometry "$found" 2>/dev/null)
    if [[ -n $place && $place == "$before" ]]; then
      echo "$found"
      return
    fi
  done
  echo "no window is called $1" >&2
  return 1
}

# point X Y: the mouse at this place of the face, in its own units, whatever the window's size.
point() {
  local place WIDTH HEIGHT  # the latter as xdotool prints them
  eval "$(xdotool getwindowgeometry --shell "$window" | grep -E '^(WIDTH|HEIGHT)=')"
  read -ra place < <(awk -v w="$WIDTH" -v h="$HEIGHT" -v x="$1" -v y="$2" 'BEGIN {
    scale = w / 960 < h / 600 ? w / 960 : h / 600
    print int((w - 960 * scale) / 2 + x * scale), int((h - 600 * scale) / 2 + y * scale) }')
  xdotool mousemove --window "$window" "${place[@]}"
}

# enter X Y TEXT: types a value that stands at this place of the face.
enter() {
  point "$1" "$2"
  xdotool click 1 type --delay 30 "$3"
  xdotool key Return
}

# strips FILE FACE: the channels' strips of a picture of the face.
strips() { convert "$2" -crop 960x400+0+80 +repage "$1"; }

# draw FILE RENDER-ARGUMENT...: the strips that `quellard face` draws with these settings.
draw() {
  "$quellard" face -o face.png "${@:2}"
  strips "$1" face.png
}

# shows_one_of FILE...: the strips are those of one of these files. The mouse lights what it is over,
# so it is led away.
shows_one_of() {
  local n count expected
  xdotool key Escape Escape
  for ((n = 0; n < 30; ++n)); do
    point 480 $((590 + n % 8))
    sleep 0.2
    import -window "$window" face.png
    strips shown.png face.png
    for expected in "$@"; do
      count=$(compare -metric AE -fuzz 3% "$expected" shown.png null: 2>&1 || true)
      if [[ $count == 0 ]]; then return; fi
    done
  done
  echo "the face differs from $expected in $count pixels" >&2
  return 1
}

# shows RENDER-ARGUMENT...: the strips are those of these settings.
shows() {
  draw expected.png "$@"
  shows_one_of expected.png || { echo "which has $*" >&2; return 1; }
}

# Starts a program that plays until it is stopped. What is written to descriptor 3 is its keyboard
# input.
start() {
  [[ -p keys ]] || mkfifo keys
  exec 3<>keys
  "$@" <&3 >program.log 2>&1 &
  servers+=($!)
}

# hear TO FROM [MIDI-TO BYTES...]: playing the mono take into TO gives the expected render at FROM.
hear() {
  for ((i = 0; i < 100; ++i)); do
    if jack_lsp 2>/dev/null | grep -qx "$2"; then
      timeout 60 "$build/jack_take" "$1" "$2" mono.wav expected.wav "${@:3}"
      return
    fi
    sleep 0.1
  done
  cat program.log jackd.log
  return 1
}

case $1 in
  validate)
    needs lv2_validate
    lv2_validate "$build"/lv2/quellard.lv2/*.ttl 2>&1 | tee said
    grep -q '^Found 0 errors' said
    ;;
  lv2apply)  # plays sample by sample
    needs lv2apply
    for plugin in "$mono" "$stereo"; do
      in=mono.wav
      if [[ $plugin == "$stereo" ]]; then in=stereo.wav; fi
      # shellcheck disable=SC2046
      lv2apply -i $in -o heard.wav $(printf -- '-c %s ' "${ports[@]/=/ }") "$plugin"
      expect heard.wav $in "${knobs[@]}"
      lv2apply -i $in -o heard.wav -c enabled 0 "$plugin"
      sndfile-cmp heard.wav $in
    done
    ;;
  lv2file)
    needs lv2file
    # shellcheck disable=SC2046
    lv2file --ignore-clipping -i mono.wav -o heard.wav -b 512 $(printf -- '-p %s ' "${ports[@]/=/:}") $mono
    expect heard.wav mono.wav "${knobs[@]}"
    "$quellard" presets | sed '1d; s/^\(.\{24\}\).*/\1/; s/ *$//' >names
    [[ $(wc -l <names) == 12 ]]
    while read -r preset; do
      lv2file --ignore-clipping -i mono.wav -o heard.wav -b 100 -P "$preset" $mono </dev/null
      expect heard.wav mono.wav --preset "$preset"
    done <names
    ;;
  ecasound)
    needs ecasound
    values=5,5,5,5,5,5,5,5,5,5,4.39,7.39,5,5,5,5,5,5,1,1,0,-81,0
    ecasound -q -b:256 -f:f32_le,1,44100 -i mono.wav -o heard.wav -elv2:$mono,$values
    expect heard.wav mono.wav "${knobs[@]}"
    ;;
  lv2bench)
    needs lv2bench
    for plugin in "$mono" "$stereo"; do
      lv2bench -b 64 -n 96000 "$plugin" | tee said
      grep -qE "^[0-9.]+ $plugin" said
    done
    ;;
  jalv)
    needs jackd jack_wait jack_lsp jalv
    serve
    # shellcheck disable=SC2046
    start jalv -x -n amp $(printf -- '-c %s ' "${ports[@]}") "$mono"
    "$quellard" render -q -o expected.wav mono.wav "${knobs[@]}"
    hear amp:in amp:out
    ;;
  jalv.gtk3 | jalv.qt5)  # the face in it: shows the host's values, and its moves are heard
    needs jackd jack_wait jack_lsp "$1" Xvfb xdotool import compare
    serve
    display
    # jalv.qt5 takes no options.
    client=amp
    if [[ $1 == jalv.qt5 ]]; then client=Quellard; fi
    start "$1" -x -n amp -c type=1 -c vintage_bass=3 "$mono"
    window=$(face_window Quellard)
    if [[ $1 == jalv.qt5 ]]; then
      point 100 278
      xdotool click 1
      enter 377 321 3
    fi
    # A knob is dragged, values are typed, and a double-click takes the first back.
    point 631 280
    xdotool mousedown 1
    point 631 240
    xdotool mouseup 1
    shows --channel vintage --bass 3 --treble 7
    enter 250 321 7.39
    enter 885 321 4.39
    point 631 280
    xdotool click --repeat 2 --delay 50 1
    shows "${knobs[@]}" --bass 3
    "$quellard" render -q -o expected.wav mono.wav "${knobs[@]}" --bass 3
    hear $client:in $client:out
    if [[ $1 == jalv.qt5 ]]; then  # the last preset of the host's own menu, which has them in any order
      "$quellard" presets | sed -En '2,$s/ +(CLEAN|VINTAGE|MODERN) .*//p' >names
      mkdir presets
      while read -r name; do draw "presets/$name.png" --preset "$name"; done <names
      # A busy machine may open the menu after the keys, so that they choose nothing.
      for delay in 0.5 2 4; do
        xdotool mousemove 70 10 click 1
        sleep "$delay"
        xdotool key --delay 500 Up Return
        if shows_one_of presets/*.png || [[ $delay == 4 ]]; then break; fi
      done
      shows_one_of presets/*.png
    fi
    kill "${servers[2]}"
    wait "${servers[2]}"
    ;;
  face-jack)  # the window of quellard-jack
    needs jackd jack_wait jack_lsp Xvfb xdotool import compare
    serve
    display
    start "$build/quellard-jack" --name amp --no-connect --preset "Funk Cut"
    window=$(face_window amp)
    "$quellard" render -q -o expected.wav mono.wav --preset "Country Snap" --gain 7.39
    for ((n = 0; n < 3; ++n)); do point 638 35; xdotool click 1; done
    enter 250 321 7.39
    hear amp:in amp:out
    # By MIDI the program moves the knob, and the face shows it at once.
    "$quellard" render -q -o expected.wav mono.wav --preset "Warm Jazz"
    hear amp:in amp:out amp:midi $'\xc0\x01'
    shows --preset "Warm Jazz"
    "$build/close_window" "$window"
    wait "${servers[2]}"
    grep -qx '[0-9]* xruns' program.log
    grep -qx '# Warm Jazz' "$XDG_STATE_HOME/quellard/jack/amp.state"
    ;;
  without-x11)  # modules and programs on a machine whose libxcb cannot be loaded
    mkdir broken
    touch broken/libxcb.so.1
    export DISPLAY=:0 LD_LIBRARY_PATH=$PWD/broken
    for tests in clap vst2 vst3 lv2; do
      if [[ -x $build/${tests}_tests ]]; then "$build/${tests}_tests" --gtest_brief=1; fi
    done
    "$quellard" render -q -o heard.wav mono.wav "${knobs[@]}"
    if [[ -x $build/quellard-jack ]]; then "$build/quellard-jack" --version; fi
    ;;
  quellard-jack)
    needs jackd jack_wait jack_lsp
    if "$build/quellard-jack" --chanel clean 2>said; then exit 1; fi
    grep -qx "quellard-jack: unknown option '--chanel', did you mean '--channel'?" said
    if "$build/quellard-jack" --help 2>said >/dev/full; then exit 1; fi
    grep -qx 'quellard-jack: cannot write standard output: the disk is full' said
    serve
    # A state that cannot be written does not hide the rest of the report.
    if timeout --preserve-status 1 "$build/quellard-jack" --state /proc/none.state >said 2>&1; then
      exit 1
    fi
    grep -qx 'quellard-jack: cannot write /proc/none.state: .*' said
    grep -qx '[0-9]* xruns' said
    # The older spellings for --set, and a preset of the user's own.
    "$quellard" presets --show "Warm Jazz" >"$XDG_CONFIG_HOME/quellard/presets/Mine.txt"
    start "$build/quellard-jack" --name amp --no-connect --preset mine \
      --set type=vintage --set vintage_gain=7.39
    "$quellard" render -q -o expected.wav mono.wav --preset "Warm Jazz" "${knobs[@]:0:4}"
    hear amp:in amp:out
    # A preset, its GAIN, another channel and the GAIN there, back again, and TREBLE by its own number.
    "$quellard" render -q -o expected.wav mono.wav --preset "Scooped Metal" \
      --set 18=0.598425197 --set 16=0.787401575
    hear amp:in amp:out amp:midi $'\xc0\x0a' $'\xb3\x19\x4c' $'\xb5\x0e\x01' $'\xb0\x19\x14' \
      $'\xb0\x0e\x7f' $'\xb0\x75\x64'
    kill "${servers[1]}"
    wait "${servers[1]}"
    tail -n 1 program.log | grep -qx '[0-9]* xruns'
    # It starts with the values that it ended with, and then applies the command line's.
    grep -qx 'modern.treble = 7.8740156' "$XDG_STATE_HOME/quellard/jack/amp.state"
    servers=("${servers[0]}")
    start "$build/quellard-jack" --name amp --no-connect --bass 2.5
    "$quellard" render -q -o expected.wav mono.wav --preset "Scooped Metal" \
      --set 18=0.598425197 --set 16=0.787401575 --bass 2.5
    hear amp:in amp:out
    ;;
  panel)  # keys in a pseudo-terminal: presets, channels, knobs, numbers, saving, mute, bypass
    needs jackd jack_wait jack_lsp script
    serve
    export TERM=xterm
    start script -qefc "$build/quellard-jack --name amp --no-connect" seen
    "$quellard" render -q -o expected.wav mono.wav --preset "Soaring Solo" --channel vintage \
      --gain 4 --master 4.39
    # A factory preset's name is refused, and the sound goes on while another is typed.
    printf 'p2<\033OA=4.39\rwwarm jazz\rwMy' >&3
    hear amp:in amp:out
    grep -q 'Soaring Solo (changed): ' seen
    printf ' Lead\r' >&3
    for ((i = 0; i < 50; ++i)); do
      if [[ -e $XDG_CONFIG_HOME/quellard/presets/My\ Lead.txt ]]; then break; fi
      sleep 0.1
    done
    "$quellard" render -q -o saved.wav mono.wav --preset "my lead"
    cmp saved.wav expected.wav
    printf m >&3
    sleep 0.3
    if timeout 60 "$build/jack_take" amp:in amp:out mono.wav expected.wav; then exit 1; fi
    # The tuner is silent, whether or not the outputs were muted before, and shows the first note.
    printf mt >&3
    for ((i = 0; i < 3; ++i)); do  # a busy machine may draw no frame while the note sounds
      sleep 0.3
      if timeout 60 "$build/jack_take" amp:in amp:out mono.wav expected.wav; then exit 1; fi
      if grep -q 'B5.*cents' seen; then break; fi
    done
    grep -q 'B5.*cents' seen
    printf tb >&3
    sleep 1
    timeout 60 "$build/jack_take" amp:in amp:out mono.wav mono.wav
    printf 'g-60 dB\ro-6\r1?xq' >&3
    wait "${servers[1]}"
    [[ ! -e $XDG_CONFIG_HOME/quellard/presets/warm\ jazz.txt ]]
    grep -q MUTED seen
    grep -q "saved: quellard-jack --preset 'My Lead'" seen
    for line in 'channel = clean' 'gate = -60' 'output = -6'; do
      grep -qx "$line" "$XDG_STATE_HOME/quellard/jack/amp.state"
    done
    ;;
  ardour)
    needs ardour7-lua
    ardour=$host_root/usr/lib/ardour7
    export HOME=$PWD/home
    mkdir -p home/.vst3
    cp -r "$build/quellard.vst3" home/.vst3
    LD_LIBRARY_PATH=$ardour "${emulator[@]}" "$ardour/ardour-vst3-scanner" -f "$HOME/.vst3/quellard.vst3" | tee said
    [[ $(grep -c '^\[Info\]: Found Plugin: Quellard' said) == 2 ]]
    touch -d tomorrow home/.cache/ardour7/vst/*.v3i  # what it found counts while newer than the module
    SESSION=$PWD/session timeout 60 ardour7-lua "$root/tests/adapters/ardour.lua" | tee said
    grep -qx kept said
    ;;
  install)
    needs lv2ls
    unset LV2_PATH
    mkdir -p home/.vst3/quellard-stereo.vst3
    install=$root/scripts/install
    "$install" --help | grep -q -- --system
    HOME=$PWD/home "$install" --user "$build" | tee said
    grep -q 'home/.local/bin is not on the PATH' said
    HOME=$PWD/home PATH=$PWD/home/.local/bin:$PATH "$install" --user "$build" | grep -q 'is on the PATH'
    cmp home/.local/share/man/man1/quellard.1 "$build/share/man/man1/quellard.1"
    bash -c '. home/.local/share/bash-completion/completions/quellard && complete -p quellard'
    HOME=$PWD/home lv2ls | grep -qx $stereo
    "${emulator[@]}" home/.local/bin/quellard render -q mono.wav -o heard.wav "${knobs[@]}"
    expect heard.wav mono.wav "${knobs[@]}"
    for file in .clap/quellard.clap .vst/quellard-vst2{,-stereo}.so; do
      cmp "home/$file" "$build/${file##*/}"
    done
    [[ $(ls home/.vst3) == quellard.vst3 ]]
    cmp home/.vst3/quellard.vst3/Contents/*/quellard.so "$build"/quellard.vst3/Contents/*/quellard.so
    HOME=$PWD/home "$install" --user --remove
    [[ -z $(find home -type f) ]]
    ;;
  *)
    echo "no case is called '$1'" >&2
    exit 2
    ;;
esac
