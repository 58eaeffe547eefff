#!/bin/sh
# Renders the drawings in res/icon/source/ to the images in res/icon/.
#
# Needs the Debian packages librsvg2-bin, optipng, imagemagick and fonts-dejavu-core. The same
# drawings and the same versions of these give the same bytes.
set -eu

cd "$(dirname "$0")/../res/icon"

# render WIDTH HEIGHT NAME...
render() {
    width=$1
    height=$2
    shift 2
    for name in "$@"; do
        rsvg-convert --width "$width" --height "$height" --output "$name.png" "source/$name.svg"
        optipng -quiet -o5 -strip all "$name.png"
    done
}

# Icons that Qt scales to their place: twice the size they are shown in, for dense screens.
render 256 256 talo
render 300 100 logo
render 50 50 home-normal settings-normal help-normal home-pressed settings-pressed help-pressed
render 140 140 fullscan quickscan customscan schedulescan
render 100 100 green-tick mobileapp whatsnew advanced
render 300 160 app-store google-play-store windows-app-store
render 60 60 backward forward
render 80 80 update virusdb report
render 40 40 help setting
render 64 64 warning

# Images that the style sheet draws as backgrounds or a label shows as they are: never scaled.
render 20 20 facebook-normal twitter-normal googleplus-normal
render 20 20 facebook-hover twitter-hover googleplus-hover
render 44 44 scan-normal update-normal mail-normal report-normal
render 44 44 scan-hover update-hover mail-hover report-hover
render 56 56 datatheft duplicatefinder shredder
render 70 70 on off
render 16 16 radio-check radio-uncheck
render 650 250 first second third fourth

background=$(mktemp --suffix=.png)
trap 'rm -f "$background"' EXIT
rsvg-convert --width 800 --height 450 --output "$background" source/install-background.svg
convert "$background" -strip -quality 85 install-background.jpg
