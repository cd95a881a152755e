#!/usr/bin/env bash
# windows.sh FOLDER: quellard.exe of this build folder under Wine, as its users have it: names in any
# letters, long paths, pipes, and what is left where a render is killed.
set -euo pipefail

made=$(cd "$1" && pwd)
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
export XDG_CONFIG_HOME XDG_STATE_HOME
XDG_CONFIG_HOME="Z:$scratch/config" XDG_STATE_HOME="Z:$scratch/state"

quellard() { "$root/scripts/run-wine" "$made/quellard.exe" "$@"; }
fail() {
  echo "windows.sh: $*" >&2
  exit 1
}
same() { cmp "$1" "$2" || fail "$1 and $2 differ: $3"; }

# A take: a second of a decaying tone, 16 bits at 44100 Hz.
python3 - <<'END'
import array, math, wave
samples = array.array("h", (int(9000 * math.exp(-3e-5 * i) * math.sin(0.0157 * i)) for i in range(44100)))
with wave.open("take.wav", "wb") as file:
    file.setnchannels(1), file.setsampwidth(2), file.setframerate(44100)
    file.writeframes(samples.tobytes())
END

quellard --version | grep -q '^quellard [0-9]' || fail "no version"
quellard render --help | grep -q 'wav (others need' || fail "the help does not say what is missing"
quellard info | grep -q Quellard || fail "the plug-in beside the program is not found"
quellard presets | grep -q "$(sed -n 's/^    {"\([^"]*\)".*/\1/p' "$root/params/factory_bank.h" | head -1)" ||
  fail "no presets"
quellard render take.wav -o plain.wav -q --channel vintage

# Names in other letters, on the command line, in messages and in lists.
cp take.wav 'Übung – Ночь 夜.wav'
quellard render 'Übung – Ночь 夜.wav' -o 'wyjście żółć.wav' -q --channel vintage
same plain.wav 'wyjście żółć.wav' "by their names"
if quellard render 'немає.wav' -o x.wav 2>complaint; then fail "a missing file is rendered"; fi
grep -q 'cannot read немає.wav: no such file' complaint || fail "it says: $(cat complaint)"
quellard render 'Übung – Ночь 夜.wav' -o x.wav --json | grep -q 'Übung – Ночь 夜.wav' || fail "no name in the list"
mkdir -p config/quellard/presets
printf 'vintage.gain = 7\n' >'config/quellard/presets/Für Elise.txt'
quellard presets --show 'für elise' | grep -qi 'vintage.gain' || fail "no preset of one's own"

# The face as Linux draws it.
quellard face -o face.png --scale 2 --preset 'Blues Lead'
differing=$(compare -metric AE face.png "$root/docs/face.png" null: 2>&1) || true
[[ $differing == 0 ]] || fail "$differing pixels of the face are not Linux's"

# A path of more than 260 characters.
long=$(printf 'a-folder-with-a-long-name-%s/' 1 2 3 4 5 6 7 8 9 10 11 12)
mkdir -p "$long"
quellard render take.wav -o "$long/long.wav" -q --channel vintage
same plain.wav "$long/long.wav" "by a long path"

# Pipes on both sides, and a folder.
quellard render - -o - -q --channel vintage <take.wav >piped.wav
same plain.wav piped.wav "through pipes"
mkdir songs
cp take.wav songs/one.wav
cp take.wav songs/two.wav
quellard render songs -o amped/ -q -j 2 --channel vintage
same plain.wav amped/two.wav "in a folder"
# Patterns, which no shell here replaces; letters, whose size makes no other file; a slash is no option.
quellard render 'songs/*.WAV' -o by-pattern/ -q --channel vintage
[[ $(ls by-pattern) == $'one.wav\ntwo.wav' ]] || fail "by a pattern came: $(ls by-pattern)"
same plain.wav by-pattern/one.wav "by a pattern"
if quellard render 'songs/t?.wav' -o x/ 2>complaint; then fail "a pattern without files is rendered"; fi
grep -q 'cannot read songs/t?.wav' complaint || fail "it says: $(cat complaint)"
mkdir more
cp take.wav more/ONE.wav
if quellard render songs/one.wav more/ONE.wav -o both/ 2>complaint; then fail "two results have one name"; fi
grep -q 'would both become' complaint || fail "it says: $(cat complaint)"
if quellard render /no-such.wav -o x.wav 2>complaint; then fail "a missing file is rendered"; fi
grep -q 'cannot read .no-such.wav: no such file' complaint || fail "it says: $(cat complaint)"
quellard render take.wav -o NUL -q --type wav || fail "the device NUL takes nothing"
printf 'vintage.gain = 7\r\n' >config/quellard/presets/nul.txt
if quellard presets >/dev/null 2>complaint; then fail "a device is a preset"; fi
grep -q "'nul' is a device's name" complaint || fail "it says: $(cat complaint)"
rm config/quellard/presets/nul.txt
quellard sweep songs -o swept/ --grid gain=2,8 -q
[[ $(grep -c '"output"' swept/manifest.jsonl) == 4 ]] || fail "the sweep's list is not whole"
quellard face -o face.png --channel vintage
[[ $(head -c 4 face.png | tail -c 3) == PNG ]] || fail "no picture"
quellard tune take.wav | grep -qi 'B2\|A2' || fail "hears: $(quellard tune take.wav)"

# A cabinet of another rate.
python3 - <<'END'
import array, math, wave
samples = array.array("h", (int(20000 * math.exp(-i / 200) * math.cos(0.1 * i)) for i in range(2400)))
with wave.open("cabinet.wav", "wb") as file:
    file.setnchannels(1), file.setsampwidth(2), file.setframerate(96000)
    file.writeframes(samples.tobytes())
END
quellard render take.wav -o boxed.wav -q --channel vintage --cab cabinet.wav
if cmp -s plain.wav boxed.wav; then fail "the cabinet is not heard"; fi

# What was there stays, and nothing else is left, where a render is killed, fails or is refused.
cp plain.wav kept.wav
mkdir busy
cp plain.wav busy/kept.wav
"$root/scripts/run-wine" "$made/quellard.exe" render take.wav -o busy/kept.wav -q --tail 3000 &
for ((i = 0; i < 100; ++i)); do
  [[ $(find busy -type f | wc -l) != 2 ]] || break
  sleep 0.2
done
[[ $i != 100 ]] || fail "the render writes nothing to be left behind"
kill -KILL $!
wait $! 2>/dev/null || true
for ((i = 0; i < 50; ++i)); do
  [[ $(ls -A busy) != kept.wav ]] || break
  sleep 0.2
done
[[ $i != 50 ]] || fail "left behind: $(ls -A busy)"
same kept.wav busy/kept.wav "after a killed render"
if quellard render take.wav -o missing/x.wav 2>complaint; then fail "written into no folder"; fi
grep -q 'missing' complaint || fail "it says: $(cat complaint)"
chmod a-w kept.wav
if quellard render take.wav -o kept.wav 2>complaint; then fail "written over a file that is not to be"; fi
grep -q 'cannot write kept.wav: no permission' complaint || fail "it says: $(cat complaint)"
if quellard render take.wav -o x.flac 2>complaint; then fail "FLAC is not known here"; fi
grep -q 'only .wav is known' complaint || fail "it says: $(cat complaint)"
echo "quellard.exe does what it should"
