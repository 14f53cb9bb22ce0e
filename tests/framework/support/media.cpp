#include "support/media.h"

#include <filesystem>

#include "support/fields.h"

namespace support {
namespace {

constexpr const char *MAKE = R"(
ff() { ffmpeg -nostdin -loglevel error -y -threads 1 -bitexact "$@"; } &&
for name in plain.jpg plain.png plain.gif plain.bmp plain.tiff; do
    ff -f lavfi -i testsrc2=size=320x180:rate=1 -frames:v 1 $name || exit 1; done &&
cp plain.jpg photo.jpg &&
ff -f lavfi -i testsrc2=size=200x100:rate=1 -frames:v 1 -c:v libwebp photo.webp &&
ff -f lavfi -i testsrc2=size=128x96:rate=1 -frames:v 1 -c:v libaom-av1 -cpu-used 8 photo.avif &&
convert-im6.q16 plain.png -resize '128x96!' photo.heic &&
exiftool -q -q -overwrite_original -EXIF:Model='Desk Camera 1' -EXIF:DateTimeOriginal='2024:07:14 09:30:00' \
    -EXIF:Orientation#=6 -EXIF:ExposureTime=1/125 -EXIF:FNumber=2.8 -EXIF:ISO=200 \
    -EXIF:GPSLatitude=33.8568 -EXIF:GPSLatitudeRef=S -EXIF:GPSLongitude=151.2153 -EXIF:GPSLongitudeRef=E \
    -EXIF:GPSAltitude=12.5 -EXIF:GPSAltitudeRef#=0 photo.jpg photo.webp photo.avif photo.heic &&
tags='-metadata title=Élégie -metadata artist=東京トリオ -metadata album=Été -metadata genre=Jazz
    -metadata date=2015 -metadata track=3/12' &&
for name in song.mp3 song.flac song.ogg song.wav; do
    ff -f lavfi -i sine=frequency=262:sample_rate=44100:duration=2 -ac 2 $tags $name || exit 1; done &&
ff -f lavfi -i sine=frequency=262:sample_rate=44100:duration=2 -i plain.jpg -map 0 -map 1 -c:v copy \
    -disposition:v attached_pic -c:a aac -b:a 64k $tags song.m4a &&
ff -i song.mp3 -i plain.jpg -map 0 -map 1 -c copy -disposition:v attached_pic covered.mp3 &&
ff -i song.flac -i plain.jpg -map 0 -map 1 -c copy -disposition:v attached_pic covered.flac &&
printf '1\n00:00:00,000 --> 00:00:01,000\nHello\n' >words.srt &&
ff -f lavfi -i testsrc2=size=320x240:rate=10:duration=2 -f lavfi -i sine=duration=2 -f lavfi -i sine=duration=2 \
    -i words.srt -map 0 -map 1 -map 2 -map 3 -c:v libx264 -preset ultrafast -pix_fmt yuv420p -aspect 16:9 \
    -c:a aac -c:s srt -metadata:s:a:0 language=eng -metadata:s:a:1 language=deu -metadata title='The film' \
    film.mkv &&
ff -f lavfi -i testsrc2=size=1280x720:rate=10:duration=2 -f lavfi -i sine=duration=2 -c:v libx264 \
    -preset ultrafast -pix_fmt yuv420p -c:a aac -metadata title='The clip' -metadata synopsis='What happens' \
    -metadata creation_time=2023-05-06T07:08:09Z -metadata location=+48.8584+002.2945/ film.mp4 &&
ff -f lavfi -i testsrc2=size=320x180:rate=10:duration=2 -f lavfi -i sine=duration=2 -c:v mpeg2video -c:a mp2 film.ts &&
ff -f lavfi -i testsrc2=size=160x120:rate=10:duration=2 -c:v mpeg4 silent.avi && rm words.srt)";

} // namespace

void makeMedia(const Folder &folder) { shell(folder.path(), MAKE); }

MediaFolder::MediaFolder(std::initializer_list<const char *> names) {
    if (names.size() == 0) {
        makeMedia(*this);
        return;
    }
    const Folder all;
    makeMedia(all);
    for (const char *name : names) {
        std::filesystem::copy(all.path(name), path(name));
    }
}

const Folder *MediaTest::media_ = nullptr;

void MediaTest::SetUpTestSuite() {
    const auto *folder = new Folder;
    makeMedia(*folder);
    media_ = folder;
}

void MediaTest::TearDownTestSuite() {
    delete media_;
    media_ = nullptr;
}

} // namespace support
