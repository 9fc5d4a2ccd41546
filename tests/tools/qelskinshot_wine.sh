#!/usr/bin/env bash
# qelskinshot.exe under Wine and Xvfb: the three sample skins rendered in real windows and
# saved as PNGs in OUT_DIR, each checked for what a person would see in it: the right
# size, a dark control bar with light glyphs on it, a black video surface, the pop-up's
# accent border. Its command-line errors are checked too.
#   qelskinshot_wine.sh WINE_RUN PREFIX QELSKINSHOT_EXE OUT_DIR
set -uo pipefail
wine_run=$1; prefix=$2; exe=$3; out=$4
mkdir -p "$out"
work=$(mktemp -d); trap 'rm -rf "$work"' EXIT

failures=0; passed=0
fail() { echo "FAIL $1"; failures=$((failures + 1)); }
ok() { echo "ok   $1"; passed=$((passed + 1)); }
winpath() { printf 'Z:%s' "$1" | tr '/' '\\'; }

# RGB triples of a PNG, one pixel a line ("r g b"), rows top to bottom.
pixels() { ffmpeg -loglevel error -i "$1" -f rawvideo -pix_fmt rgb24 - | od -An -v -tu1 -w3; }

# Prints "W H" of a PNG, or nothing when it is not one.
png_size() {
  [ "$(head -c 8 "$1" | od -An -tx1 | tr -d ' \n')" = "89504e470d0a1a0a" ] || return 0
  ffprobe -loglevel error -select_streams v:0 -show_entries stream=codec_name,width,height -of csv=p=0 "$1" |
    awk -F, '$1 == "png" { print $2, $3 }'
}

# Figures of a band of rows [top, bottom): distinct colours, light pixels (luma > 170),
# dark pixels (luma < 70), pixels that are not pure black, the band's pixel count, pixels
# of the blue accent (slider fills) and of the chapter dots' yellow.
band() {  # FILE WIDTH TOP BOTTOM
  pixels "$1" | awk -v w="$2" -v top="$3" -v bottom="$4" '
    { row = int((NR - 1) / w) }
    row >= top && row < bottom {
      n++; colours[$1 " " $2 " " $3] = 1
      luma = 0.299 * $1 + 0.587 * $2 + 0.114 * $3
      if (luma > 170) light++
      if (luma < 70) dark++
      if ($1 + $2 + $3 > 0) lit++
      if ($1 < 110 && $2 > 150 && $3 > 220) accent++
      if ($1 > 220 && $2 > 160 && $2 < 225 && $3 < 120) yellow++
    }
    END { print length(colours), light + 0, dark + 0, lit + 0, n + 0, accent + 0, yellow + 0 }'
}

shoot() {  # NAME [--playing] SKIN [WIDTH HEIGHT]
  local name=$1 playing=(); shift
  if [ "$1" = "--playing" ]; then playing=(--playing); shift; fi
  local skin=$1; shift
  rm -f "$out/$name.png"
  "$wine_run" --run "$prefix" --display "$exe" "${playing[@]}" "$skin" "$(winpath "$out/$name.png")" "$@" \
    > "$work/$name.out" 2> "$work/$name.err" < /dev/null
  local rc=$?
  if [ $rc -ne 0 ]; then fail "$name: exit $rc"; tail -5 "$work/$name.err"; return 1; fi
  [ -e "$out/$name.png.tmp" ] && { fail "$name: temporary file left behind"; return 1; }
  return 0
}

expect_size() {  # NAME WIDTH HEIGHT
  local got; got=$(png_size "$out/$1.png")
  if [ "$got" != "$2 $3" ]; then fail "$1: size '${got:-not a PNG}', want '$2 $3'"; return 1; fi
  return 0
}

# The control bar of both players: 48 dark rows with light glyphs and text on them.
expect_bar() {  # NAME WIDTH HEIGHT
  local colours light dark n
  read -r colours light dark _ n _ <<< "$(band "$out/$1.png" "$2" $(($3 - 48)) "$3")"
  if [ "${colours:-0}" -ge 16 ] && [ "${light:-0}" -ge 300 ] && [ $((${dark:-0} * 10)) -ge $((${n:-0} * 6)) ]; then
    return 0
  fi
  fail "$1: control bar has $colours colours, $light light and $dark dark of $n pixels"; return 1
}

# The video player at the skin's size: a black surface above the bar.
if shoot video video/video.xml && expect_size video 640 400 && expect_bar video 640 400; then
  read -r _ _ _ lit n _ <<< "$(band "$out/video.png" 640 0 352)"
  if [ "${lit:-1}" -ne 0 ]; then fail "video: $lit of $n surface pixels are not black"; else ok "video"; fi
fi

# The same skin at another size: the bar stays at the bottom and keeps its height.
if shoot video-wide video/video.xml 800 450 && expect_size video-wide 800 450 && expect_bar video-wide 800 450; then
  read -r _ _ _ lit n _ <<< "$(band "$out/video-wide.png" 800 0 402)"
  if [ "${lit:-1}" -ne 0 ]; then fail "video-wide: $lit of $n surface pixels are not black"; else ok "video-wide"; fi
fi

# The audio player: its background picture (a gradient, never one colour) above the bar.
if shoot audio audio/audio.xml && expect_size audio 440 224 && expect_bar audio 440 224; then
  read -r colours _ <<< "$(band "$out/audio.png" 440 8 168)"
  if [ "${colours:-0}" -lt 16 ]; then fail "audio: picture area has only $colours colours"; else ok "audio"; fi
fi

# During playback: the position fill (blue) grows, the chapter dots (yellow) appear.
accent_of() { band "$out/$1.png" "$2" $(($3 - 48)) "$3" | awk '{ print $6, $7 }'; }
if shoot video-playing --playing video/video.xml && expect_size video-playing 640 400 &&
   expect_bar video-playing 640 400; then
  read -r base _ <<< "$(accent_of video 640 400)"
  read -r accent yellow <<< "$(accent_of video-playing 640 400)"
  if [ "${accent:-0}" -lt $((${base:-0} + 100)) ]; then fail "video-playing: $accent accent pixels, $base before playing"
  elif [ "${yellow:-0}" -lt 45 ]; then fail "video-playing: $yellow dot pixels for three dots"
  else ok "video-playing"; fi
fi
if shoot audio-playing --playing audio/audio.xml && expect_size audio-playing 440 224 &&
   expect_bar audio-playing 440 224; then
  read -r base _ <<< "$(accent_of audio 440 224)"
  read -r accent _ <<< "$(accent_of audio-playing 440 224)"
  if [ "${accent:-0}" -lt $((${base:-0} + 60)) ]; then fail "audio-playing: $accent accent pixels, $base before playing"
  else ok "audio-playing"; fi
fi

# The dot pop-up: accent border, title and text.
if shoot videothumb video/videothumb.xml && expect_size videothumb 200 120; then
  corner=$(band "$out/videothumb.png" 200 0 1 | awk '{ print $6 }')
  read -r colours light _ <<< "$(band "$out/videothumb.png" 200 0 120)"
  if [ "${corner:-0}" -ne 200 ]; then fail "videothumb: top edge has $corner of 200 pixels in the accent colour"
  elif [ "${colours:-0}" -lt 16 ] || [ "${light:-0}" -lt 100 ]; then fail "videothumb: $colours colours, $light light pixels"
  else ok "videothumb"; fi
fi

# Errors: a skin that is not there, and bad arguments; no output file either way.
expect_exit() {  # NAME WANT ARGS...
  local name=$1 want=$2; shift 2
  "$wine_run" --run "$prefix" --display "$exe" "$@" > "$work/$name.out" 2> "$work/$name.err" < /dev/null
  local rc=$?
  if [ $rc -ne "$want" ]; then fail "$name: exit $rc, want $want"; tail -3 "$work/$name.err"
  elif [ -e "$out/$name.png" ]; then fail "$name: wrote $out/$name.png"
  else ok "$name"; fi
}
expect_exit missing-skin 2 video/none.xml "$(winpath "$out/missing-skin.png")"
expect_exit bad-size 1 video/video.xml "$(winpath "$out/bad-size.png")" 0 200
expect_exit no-output 1 video/video.xml

echo "$passed passed, $failures failed"
[ "$failures" -eq 0 ]
