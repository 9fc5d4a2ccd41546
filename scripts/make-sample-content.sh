#!/usr/bin/env bash
# Makes the sample media the tests and the demo play, once per output folder:
#   hls/index.m3u8 + index0.ts ...  an HLS video (5 s unless told), 1-second segments,
#                                   H.264 + AAC in TS
#   hls/sha256.txt                  "<segment file> <sha256>" per segment
#   plain.mp4                       a 2-second MP4 (H.264 + AAC)
#   tone.mp3, tone.wav              a 3-second 440 Hz tone
# Usage: make-sample-content.sh OUTDIR [HLS_SECONDS]
set -euo pipefail

out=${1:?usage: $0 OUTDIR [HLS_SECONDS]}
hls_seconds=${2:-5}
stamp=$out/.complete
# The stamp names the HLS length it was made for; another length makes it all anew.
[ "$(cat "$stamp" 2>/dev/null)" = "$hls_seconds" ] && exit 0
rm -rf "$out/hls" "$out/plain.mp4" "$out/tone.mp3" "$out/tone.wav" "$stamp"

work=$(mktemp -d "${out%/}.tmp.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/hls"

ff=(ffmpeg -hide_banner -loglevel error -nostdin -y)
video=(-f lavfi -i "testsrc2=size=320x240:rate=25" -f lavfi -i "sine=frequency=440:sample_rate=44100")
codecs=(-c:v libx264 -preset veryfast -pix_fmt yuv420p -g 25 -keyint_min 25 -sc_threshold 0 -c:a aac -b:a 64k)

"${ff[@]}" "${video[@]}" -t "$hls_seconds" "${codecs[@]}" -force_key_frames "expr:gte(t,n_forced*1)" \
  -f hls -hls_time 1 -hls_list_size 0 -hls_playlist_type vod \
  -hls_segment_filename "$work/hls/index%d.ts" "$work/hls/index.m3u8"
"${ff[@]}" "${video[@]}" -t 2 "${codecs[@]}" -movflags +faststart "$work/plain.mp4"
"${ff[@]}" -f lavfi -i "sine=frequency=440:sample_rate=44100" -t 3 -c:a libmp3lame -b:a 96k "$work/tone.mp3"
"${ff[@]}" -f lavfi -i "sine=frequency=440:sample_rate=44100" -t 3 "$work/tone.wav"

(cd "$work/hls" && for f in $(ls index*.ts | sort -V); do
   printf '%s %s\n' "$f" "$(sha256sum "$f" | cut -d' ' -f1)"
 done) > "$work/hls/sha256.txt"

mkdir -p "$out"
cp -r "$work"/. "$out"/
echo "$hls_seconds" > "$stamp"
