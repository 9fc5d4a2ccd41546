#!/usr/bin/env bash
# The library's registration under Wine, read back with Wine's own reg, never with the
# project's code: regsvr32 writes every key and value of the class script and registers
# the type library, regsvr32 /u removes them (HKCR\CLSID stays), /n /i:user writes under
# the current user's classes and "user2" is not "user". While registered, qelhost shows
# the control with the video skin through atl.dll's container: OUT_DIR/hosted-video.png.
# Runs without WINEPATH: the library finds UiLib.dll and QelMediaEngine.dll beside itself.
#   control_registration_wine.sh WINE_RUN PREFIX DLL QELHOST SAMPLE_DIR OUT_DIR
set -uo pipefail
wine_run=$1; prefix=$2; dll=$3; qelhost=$4; samples=$5; out=$6
mkdir -p "$out"

clsid='{57EC0F5F-D81D-4E03-ABFA-959D95D21CE6}'
libid='{59EA4748-E42D-42D1-9B61-A0649292A40D}'
failures=0; passed=0
fail() { echo "FAIL $1"; failures=$((failures + 1)); }
ok() { echo "ok   $1"; passed=$((passed + 1)); }
winpath() { printf 'Z:%s' "$1" | tr '/' '\\'; }
wine() { "$wine_run" --run "$prefix" "$@" < /dev/null; }
module=$(winpath "$dll")

regsvr() { wine regsvr32 /s "$@" "$module" > /dev/null 2>&1; }
exists() { wine reg query "$1" > /dev/null 2>&1; }
# A key's subtree as "name type value" lines, keys relative to it, the module as %MODULE%.
subtree() {
  wine reg query "$1" /s 2>/dev/null | tr -d '\r' | sed -e '/^$/d' -e 's/^ *//' -e 's/    */ /g' |
    ROOT=$1 MODULE=$module awk '
      BEGIN { root = ENVIRON["ROOT"]; sub(/^HKCR/, "HKEY_CLASSES_ROOT", root); sub(/^HKCU/, "HKEY_CURRENT_USER", root) }
      index($0, root) == 1 { $0 = substr($0, length(root) + 2); if ($0 != "") print; next }
      { i = index($0, ENVIRON["MODULE"]); if (i) $0 = substr($0, 1, i - 1) "%MODULE%" substr($0, i + length(ENVIRON["MODULE"])); print }'
}
expect() {  # NAME WANT GOT
  if [ "$2" = "$3" ]; then ok "$1"; else fail "$1"; diff <(echo "$2") <(echo "$3"); fi
}
expect_keys() {  # NAME "present|absent KEY" ...
  local name=$1 line state key bad=""; shift
  for line in "$@"; do
    state=${line%% *}; key=${line#* }
    if exists "$key"; then [ "$state" = present ] || bad+=" $key is there;"
    else [ "$state" = absent ] || bad+=" $key is missing;"; fi
  done
  if [ -z "$bad" ]; then ok "$name"; else fail "$name:$bad"; fi
}

regsvr /u; regsvr /u /n /i:user   # whatever an earlier run left

if regsvr; then ok "regsvr32"; else fail "regsvr32 exit $?"; fi
expect "class key" "$(cat <<EXPECTED
(Default) REG_SZ QelMediaPlayerCtrl Class
Control
InprocServer32
(Default) REG_SZ %MODULE%
ThreadingModel REG_SZ Apartment
MiscStatus
(Default) REG_SZ 0
MiscStatus\\1
(Default) REG_SZ 131473
ProgID
(Default) REG_SZ QelMediaPlayerCtrl
Programmable
ToolboxBitmap32
(Default) REG_SZ %MODULE%, 106
TypeLib
(Default) REG_SZ $libid
Version
(Default) REG_SZ 1.0
VersionIndependentProgID
(Default) REG_SZ QelMediaPlayerCtrl
EXPECTED
)" "$(subtree "HKCR\\CLSID\\$clsid")"
expect "programmatic identifier" "$(cat <<EXPECTED
(Default) REG_SZ QelMediaPlayerCtrl Class
CLSID
(Default) REG_SZ $clsid
CurVer
(Default) REG_SZ QelMediaPlayerCtrl
EXPECTED
)" "$(subtree 'HKCR\QelMediaPlayerCtrl')"
expect "type library" "(Default) REG_SZ %MODULE%" "$(subtree "HKCR\\TypeLib\\$libid\\1.0\\0\\win64")"

# The control by its ProgID in atl.dll's container, Type and Path set before activation.
png=$out/hosted-video.png
rm -f "$png"
"$wine_run" --run "$prefix" --display "$qelhost" --png "$(winpath "$png")" video "$(winpath "$samples/plain.mp4")" \
  > /dev/null 2> "$out/qelhost.err" < /dev/null
rc=$?
size=$(ffprobe -loglevel error -select_streams v:0 -show_entries stream=width,height -of csv=p=0 "$png" 2>/dev/null)
# The player's control bar: its bottom 48 rows hold the skin's glyphs, many colours.
colours=$(ffmpeg -loglevel error -i "$png" -vf crop=640:48:0:352 -f rawvideo -pix_fmt rgb24 - 2>/dev/null |
  od -An -v -tu1 -w3 | sort -u | wc -l)
if [ $rc -eq 0 ] && [ "$size" = "640,400" ] && [ "${colours:-0}" -ge 16 ]; then ok "hosted video player"
else fail "hosted video player: exit $rc, size '$size', $colours colours in the bar"; cat "$out/qelhost.err"; fi

if regsvr /u; then ok "regsvr32 /u"; else fail "regsvr32 /u exit $?"; fi
expect_keys "removed" "present HKCR\\CLSID" "absent HKCR\\CLSID\\$clsid" "absent HKCR\\QelMediaPlayerCtrl" \
  "absent HKCR\\TypeLib\\$libid"

classes='HKCU\Software\Classes'
regsvr /n /i:user
expect_keys "per user" "present $classes\\CLSID\\$clsid\\InprocServer32" "present $classes\\QelMediaPlayerCtrl\\CurVer" \
  "present $classes\\TypeLib\\$libid\\1.0" "absent HKLM\\Software\\Classes\\CLSID\\$clsid"
regsvr /u /n /i:user
expect_keys "per user removed" "present $classes\\CLSID" "absent $classes\\CLSID\\$clsid" \
  "absent $classes\\QelMediaPlayerCtrl" "absent $classes\\TypeLib\\$libid"

regsvr /n /i:user2
expect_keys "user2 is for the machine" "present HKLM\\Software\\Classes\\CLSID\\$clsid" "absent $classes\\CLSID\\$clsid"
regsvr /u /n /i:user2

echo "$passed passed, $failures failed"
[ "$failures" -eq 0 ]
