#!/usr/bin/env bash
# make-spu-vob.sh [--noise] OUTDIR SECONDS SPUS
#
# Makes OUTDIR/spu.vob, a PAL DVD program stream of SECONDS seconds (ffmpeg
# testsrc; with --noise noisy, at 8 Mbit/s, so the file is large) carrying two
# subpicture streams muxed by spumux, SPUS subpictures each, spread evenly:
#   0x20 menu-like pictures, the first one forced: two framed buttons, and a
#        framed field of 4-pixel stripes whose SPU spans several packs;
#   0x21 subtitle-like bars: an even one, an odd-sized one at odd
#        coordinates, and a bar one line high.
# The pictures are drawn by ImageMagick, each with three colours on a
# transparent ground, and cycled. OUTDIR/spus.txt lists every SPU in stream
# order: the stream (hex), its picture's file name, start and end seconds.
# Needs ffmpeg, ImageMagick's convert and spumux (dvdauthor package).
set -euo pipefail
export LC_ALL=C

noise=0
if [[ ${1:-} == --noise ]]; then
  noise=1
  shift
fi
if [[ $# -ne 3 ]]; then
  echo "usage: make-spu-vob.sh [--noise] OUTDIR SECONDS SPUS" >&2
  exit 2
fi
out=$1 seconds=$2 spus=$3
mkdir -p "$out"
cd "$out"

source=testsrc=size=720x576:rate=25 rate=()
# Noise at 8 Mbit/s makes about 1 MB a second.
((noise)) && source+=",noise=alls=40:allf=t" rate=(-b:v 8000k)
ffmpeg -nostdin -loglevel error -y -f lavfi -i "$source" -t "$seconds" -target pal-dvd "${rate[@]}" -an clip.mpg

# One convert run draws every picture (each start of ImageMagick costs half
# a second): picture NAME ARGS... adds a transparent 720x576 picture with
# what ARGS draw, written as NAME.
pictures=(-define png:exclude-chunks=date,time)
picture() {
  pictures+=("(" -size 720x576 xc:none +antialias -stroke none "${@:2}" -write "PNG32:$1" +delete ")")
}
picture 20a.png -fill '#ffffff' -draw 'rectangle 100,100 299,179' -fill '#808080' -draw 'rectangle 104,104 295,175' \
  -fill '#000000' -draw 'rectangle 112,136 287,143' -fill '#ffffff' -draw 'rectangle 400,300 599,379' \
  -fill '#808080' -draw 'rectangle 404,304 595,375' -fill '#000000' -draw 'rectangle 412,336 587,343'
stripes=()
for ((x = 264; x < 464; x += 8)); do stripes+=(-draw "rectangle $x,204 $((x + 3)),303"); done
picture 20b.png -fill '#ffff00' -draw 'rectangle 260,200 467,307' -fill '#0000ff' -draw 'rectangle 264,204 463,303' \
  -fill '#ff0000' "${stripes[@]}"
picture 21a.png -fill '#000000' -draw 'rectangle 160,430 559,469' -fill '#ffff00' -draw 'rectangle 164,434 555,465' \
  -fill '#808080' -draw 'rectangle 200,444 360,455'
picture 21b.png -fill '#000000' -draw 'rectangle 161,431 559,469' -fill '#00ffff' -draw 'rectangle 165,435 554,464' \
  -fill '#ff00ff' -draw 'rectangle 241,445 400,456'
picture 21c.png -fill '#ffffff' -draw 'rectangle 101,501 200,501' -fill '#ff0000' -draw 'rectangle 201,501 300,501' \
  -fill '#0000ff' -draw 'rectangle 301,501 401,501'
convert "${pictures[@]}" xc:none null:

# hms SECONDS: the spumux time of a number of seconds.
hms() { awk -v s="$1" 'BEGIN { printf "%02d:%02d:%05.2f", int(s / 3600), int(s / 60) % 60, s - 60 * int(s / 60) }'; }

: >spus.txt
for stream in 20 21; do
  if [[ $stream == 20 ]]; then images=(20a.png 20b.png) shift_by=0; else images=(21a.png 21b.png 21c.png) shift_by=3; fi
  {
    echo '<subpictures format="PAL"><stream>'
    for ((k = 0; k < spus; k++)); do
      # Spans of a tenth of each SPU's share, the second stream's a third later.
      read -r start end < <(awk -v k="$k" -v n="$spus" -v s="$seconds" -v d="$shift_by" \
        'BEGIN { w = s / n; a = k * w + d * w / 10; printf "%.2f %.2f\n", a, a + w / 2 }')
      image=${images[k % ${#images[@]}]}
      force=""
      [[ $stream == 20 && $k == 0 ]] && force=' force="yes"'
      echo "<spu start=\"$(hms "$start")\" end=\"$(hms "$end")\" image=\"$image\"$force/>"
      echo "$stream $image $start $end" >>spus.txt
    done
    echo '</stream></subpictures>'
  } >"s$stream.xml"
done
spumux -m dvd -s 0 s20.xml <clip.mpg >clip20.mpg 2>s20.log || { cat s20.log >&2; exit 1; }
spumux -m dvd -s 1 s21.xml <clip20.mpg >spu.vob 2>s21.log || { cat s21.log >&2; exit 1; }
rm -f clip.mpg clip20.mpg
