#!/usr/bin/env bash
# qelskinshot.exe under Wine and Xvfb: the sample skins rendered in real windows and saved
# as PNGs in OUT_DIR, each checked for what a person would see: the right size, a dark
# control bar with light glyphs, a black video surface, the playing state's fills and
# dots, the pop-up's accent border; and its command-line errors.
#   qelskinshot_wine.sh WINE_RUN PREFIX QELSKINSHOT_EXE OUT_DIR
set -uo pipefail
wine_run=$1; prefix=$2; exe=$3; out=$4
mkdir -p "$out"; failures=0
winpath() { printf 'Z:%s' "$1" | tr '/' '\\'; }
run() { "$wine_run" --run "$prefix" --display "$exe" "$@" > "$out/last.log" 2>&1 < /dev/null; }
expect() {  # NAME CONDITION MESSAGE
  if eval "$2"; then echo "ok   $1"; return 0; fi
  echo "FAIL $1: $3"; failures=$((failures + 1)); return 1
}

# Rows [TOP, BOTTOM) of NAME.png, WIDTH wide: distinct colours, light (luma > 170), dark
# (luma < 70) and non-black pixels, the pixel count, accent-blue and dot-yellow pixels.
band() {  # NAME WIDTH TOP BOTTOM
  ffmpeg -loglevel error -i "$out/$1.png" -f rawvideo -pix_fmt rgb24 - | od -An -v -tu1 -w3 |
    awk -v w="$2" -v top="$3" -v bottom="$4" '
      { row = int((NR - 1) / w) }
      row >= top && row < bottom {
        n++; colours[$0] = 1; luma = 0.299 * $1 + 0.587 * $2 + 0.114 * $3
        light += luma > 170; dark += luma < 70; lit += $1 + $2 + $3 > 0
        accent += $1 < 110 && $2 > 150 && $3 > 220; yellow += $1 > 220 && $2 > 160 && $2 < 225 && $3 < 120
      }
      END { print length(colours), light + 0, dark + 0, lit + 0, n + 0, accent + 0, yellow + 0 }'
}

# Renders NAME with ARGS (OUT stands for its PNG), checks that it is a PNG of WIDTH x HEIGHT
# with no temporary file left, and its 48-pixel control bar: many colours, light glyphs,
# mostly dark.
shoot() {  # NAME WIDTH HEIGHT ARGS...
  local name=$1 w=$2 h=$3 size colours light dark n; shift 3
  rm -f "$out/$name.png"
  run "${@/#OUT/$(winpath "$out/$name.png")}" || { expect "$name" false "exit $?: $(tail -3 "$out/last.log")"; return; }
  size=$(ffprobe -loglevel error -show_entries stream=codec_name,width,height -of csv=p=0 "$out/$name.png" 2>/dev/null)
  expect "$name size" '[ "$size" = "png,$w,$h" ] && [ ! -e "$out/$name.png.tmp" ]' "'$size', want png,$w,$h" || return 1
  [ "$h" -le 120 ] && return 0  # the pop-up has no bar
  read -r colours light dark _ n _ <<< "$(band "$name" "$w" $((h - 48)) "$h")"
  expect "$name bar" '[ "$colours" -ge 16 ] && [ "$light" -ge 300 ] && [ $((dark * 10)) -ge $((n * 6)) ]' \
    "$colours colours, $light light and $dark dark of $n pixels"
}

for shot in "video 640 400" "video-wide 800 450"; do
  read -r name w h <<< "$shot"
  shoot "$name" "$w" "$h" video/video.xml OUT "$w" "$h" || continue
  read -r _ _ _ lit n _ <<< "$(band "$name" "$w" 0 $((h - 48)))"
  expect "$name surface" '[ "$lit" -eq 0 ]' "$lit of $n surface pixels are not black"
done
if shoot audio 440 224 audio/audio.xml OUT; then
  read -r colours _ <<< "$(band audio 440 8 168)"
  expect "audio picture" '[ "$colours" -ge 16 ]' "only $colours colours in the picture area"  # a gradient
fi
# Playing: the position fill (blue) grows and the video's three chapter dots (yellow) show.
for shot in "video 640 400 100 45" "audio 440 224 60 0"; do
  read -r name w h more dots <<< "$shot"
  shoot "$name-playing" "$w" "$h" --playing "$name/$name.xml" OUT || continue
  read -r _ _ _ _ _ base _ <<< "$(band "$name" "$w" $((h - 48)) "$h")"
  read -r _ _ _ _ _ accent yellow <<< "$(band "$name-playing" "$w" $((h - 48)) "$h")"
  expect "$name-playing" '[ "$accent" -ge $((${base:-0} + more)) ] && [ "$yellow" -ge "$dots" ]' \
    "$accent accent pixels ($base before playing), $yellow dot pixels"
done
if shoot videothumb 200 120 video/videothumb.xml OUT; then
  read -r _ _ _ _ _ edge _ <<< "$(band videothumb 200 0 1)"
  read -r colours light _ <<< "$(band videothumb 200 0 120)"
  expect videothumb '[ "$edge" -eq 200 ] && [ "$colours" -ge 16 ] && [ "$light" -ge 100 ]' \
    "top edge $edge of 200 accent pixels, $colours colours, $light light pixels"
fi

# Errors: a skin that is not there and bad arguments, with no output file either way.
for case in "missing-skin 2 video/none.xml OUT" "bad-size 1 video/video.xml OUT 0 200" "no-output 1 video/video.xml"; do
  read -r name want args <<< "$case"
  run ${args/OUT/$(winpath "$out/$name.png")}
  rc=$?
  expect "$name" '[ "$rc" -eq "$want" ] && [ ! -e "$out/$name.png" ]' "exit $rc (want $want), or $out/$name.png written"
done
[ "$failures" -eq 0 ]
