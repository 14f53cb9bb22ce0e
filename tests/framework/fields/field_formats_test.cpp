// The fields of many formats, compared to what exiftool and ffprobe read in the same files.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/fields.h"
#include "support/folder.h"

using support::Client;
using support::Folder;
using support::longNumber;
using support::number;
using support::shell;
using support::text;

namespace {

std::vector<std::string> linesOf(const std::string &text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

class FieldsOfFormats : public testing::Test {
  protected:
    void make(const std::string &commands) const {
        shell(folder_.path(),
              "ff() { ffmpeg -nostdin -loglevel error -y -threads 1 -bitexact \"$@\" || exit 1; }; " +
                  commands);
    }
    [[nodiscard]] std::string probe(const std::string &name, const std::string &entry) const {
        const std::vector<std::string> lines = linesOf(
            shell(folder_.path(), "ffprobe -v error -show_entries " + entry + " -of csv=p=0 '" + name + "'"));
        return lines.empty() ? "" : lines[0];
    }
    // What ffprobe reports of the audio stream and of the container, by name.
    [[nodiscard]] std::map<std::string, std::string> probeSound(const std::string &name) const {
        std::map<std::string, std::string> values;
        for (const std::string &line : linesOf(
                 shell(folder_.path(), "ffprobe -v error -select_streams a -show_entries "
                                       "stream=codec_name,sample_rate:format=duration -of default=nw=1 '" +
                                           name + "'"))) {
            values.emplace(line.substr(0, line.find('=')), line.substr(line.find('=') + 1));
        }
        return values;
    }
    void list() { client_.list(folder_.path()); }
    [[nodiscard]] int at(const std::string &name) const { return support::indexOf(client_, name); }

    Folder folder_;
    Client client_;
};

} // namespace

TEST_F(FieldsOfFormats, ExposureTimesAreShownAsExiftoolShowsThem) {
    make("ff -f lavfi -i testsrc2=size=32x32 -frames:v 1 plain.jpg; convert-im6.q16 plain.jpg plain.heic; "
         "ff -i plain.jpg plain.webp; ff -i plain.jpg plain.png; "
         "n=0; for time in 4/5 8/10 3/5 2/5 1/2 1/3 3/10 1/4 25001/100000 251/1000 1/5 2/9 2/19 1/6 10/1250 "
         "16667/1000000 1/60 10/599 1/8000 1/32000 1/1 13/10 5/2 10/3 299/100 30/1 4294967295/1; do "
         "n=$((n + 1)); for type in jpg heic webp png; do cp plain.$type $(printf %02d $n).$type; done; "
         "each=\"$each -EXIF:ExposureTime=$time $(echo $(printf %02d $n).*) -execute\"; done; rm plain.*; "
         "exiftool $each -common_args -q -q -overwrite_original -n");
    const std::vector<std::string> said =
        linesOf(shell(folder_.path(), "exiftool -T -FileName -ExposureTime ."));
    ASSERT_EQ(said.size(), 27U * 4);
    list();
    for (const std::string &line : said) {
        const std::size_t tab = line.find('\t');
        EXPECT_EQ(text(client_, at(line.substr(0, tab)), "EXPOSURE_TIME"), line.substr(tab + 1)) << line;
    }
}

TEST_F(FieldsOfFormats, AnApertureBelowOneHasTwoDecimals) {
    make("ff -f lavfi -i testsrc2=size=32x32 -frames:v 1 a.jpg; "
         "exiftool -q -q -overwrite_original -EXIF:FNumber=0.95 a.jpg");
    list();
    EXPECT_EQ(text(client_, 0, "FNUMBER"), "0.95");
}

TEST_F(FieldsOfFormats, TheCodecOfSoundIsTheOneThatFfprobeNames) {
    make("tone() { all=\"$all $*\"; }; "
         "for codec in pcm_u8 pcm_s16le pcm_s24le pcm_s32le pcm_f32le pcm_f64le pcm_alaw pcm_mulaw adpcm_ms "
         "adpcm_ima_wav mp3; do tone -c:a $codec $codec.wav; done; "
         "for codec in pcm_s8 pcm_s16be pcm_s16le pcm_s24be pcm_s32be pcm_f32be pcm_f64be pcm_alaw; do "
         "tone -c:a $codec $codec.aiff; done; "
         "tone -c:a ac3 ac3.m4a; tone -c:a alac alac.m4a; tone -c:a aac aac.m4a; tone aac.aac; tone a.mp3; "
         "tone a.flac; tone a.ogg; tone a.wma; tone -c:a wmav1 b.wma; tone a.wv; "
         "tone a.ac3; tone a.mka; tone -ar 48000 a.opus; tone -c:a flac flac.oga; "
         "ff -f lavfi -i sine=duration=1:sample_rate=44100 $all");
    list();
    ASSERT_EQ(client_.count(), 33);
    for (int index = 0; index < client_.count(); ++index) {
        const std::string name = client_.item(index)["name"].asString();
        SCOPED_TRACE(name);
        const auto probed = probeSound(name);
        EXPECT_EQ(text(client_, index, "AUDIO_CODEC"), probed.at("codec_name"));
        EXPECT_EQ(std::to_string(number(client_, index, "SAMPLERATE")), probed.at("sample_rate"));
        // Some formats have a nominal bit rate, which may differ for such a simple sound.
        EXPECT_GT(number(client_, index, "BITRATE"), 0);
        EXPECT_NEAR(static_cast<double>(longNumber(client_, index, "DURATION")),
                    1000 * std::stod(probed.at("duration")), 100);
    }
}

TEST_F(FieldsOfFormats, TheBitsPerSecondOfAContainerAreAllOfItsBytes) {
    make("ff -f lavfi -i testsrc2=size=64x48:rate=10 -f lavfi -i sine -t 2 a.mkv; "
         "for type in mp4 mov avi ts mpg wmv flv ogv webm; do "
         "ff -i a.mkv -ar 44100 $([ $type = webm ] && echo -ar 48000) $([ $type = mpg ] && echo -r 25) "
         "a.$type; "
         "done; ff -i a.mkv -vn a.mka");
    list();
    ASSERT_EQ(client_.count(), 11);
    for (int index = 0; index < client_.count(); ++index) {
        const std::string name = client_.item(index)["name"].asString();
        const double rate = std::stod(probe(name, "format=bit_rate"));
        EXPECT_NEAR(static_cast<double>(number(client_, index, "BITRATE")), rate, rate * 0.05) << name;
    }
}

TEST_F(FieldsOfFormats, TheProportionsOfLongPicturesAndFilmsAreKnown) {
    make("convert-im6.q16 -size 3000x1 xc:red wide.png; "
         "convert-im6.q16 -size 1x3000 xc:red high.png; "
         "convert-im6.q16 -size 1000x1 xc:red edge.png; "
         "ff -f lavfi -i color=size=64x2:rate=1:duration=1,setsar=100/1 -c:v ffv1 wide.mkv");
    list();
    EXPECT_EQ(number(client_, at("wide.png"), "ASPECTRATIO"), 3'000'000);
    EXPECT_EQ(number(client_, at("edge.png"), "ASPECTRATIO"), 1'000'000);
    EXPECT_EQ(number(client_, at("high.png"), "ASPECTRATIO"), 1); // 0 stands for unknown
    EXPECT_EQ(number(client_, at("wide.mkv"), "ASPECTRATIO"), 3'200'000);
}

TEST_F(FieldsOfFormats, TheFormatIsThatOfTheBytes) {
    make("ff -f lavfi -i testsrc2=size=64x48:rate=10:duration=1 -pix_fmt yuv420p a.mkv; ff -i a.mkv a.webm; "
         "ff -i a.mkv -frames:v 1 a.png; convert-im6.q16 a.png a.heic; "
         "ff -i a.mkv -frames:v 1 -c:v libaom-av1 -cpu-used 8 a.avif; cp a.webm b.mkv; cp a.heic b.jpg; "
         // The same pictures with a generic major brand, so that the compatible brands decide.
         "for name in heic avif; do cp a.$name generic.$name; "
         "printf mif1 | dd of=generic.$name bs=1 seek=8 conv=notrunc status=none; done");
    list();
    for (const auto &[name, format, type] :
         std::vector<std::array<std::string, 3>>{{"a.heic", "heic", "image/heic"},
                                                 {"b.jpg", "heic", "image/heic"},
                                                 {"generic.heic", "heic", "image/heic"},
                                                 {"a.avif", "avif", "image/avif"},
                                                 {"generic.avif", "avif", "image/avif"},
                                                 {"a.mkv", "matroska", "video/x-matroska"},
                                                 {"a.webm", "webm", "video/webm"},
                                                 {"b.mkv", "webm", "video/x-matroska"}}) {
        EXPECT_EQ(text(client_, at(name), "FORMAT"), format) << name;
        EXPECT_EQ(text(client_, at(name), "MIME_TYPE"), type) << name;
    }
}

TEST_F(FieldsOfFormats, AFilmIsReadWhoseTablesLieBeyond4GiB) {
    make("ff -f lavfi -i testsrc2=size=64x48:rate=10 -t 3 -c:v mpeg4 short.mp4");
    std::ifstream in(folder_.path("short.mp4"), std::ios::binary);
    const std::string film{std::istreambuf_iterator<char>(in), {}};
    const std::size_t tables = film.rfind("moov") - 4; // ffmpeg writes them last
    // A free box of 5 GB before them, with a 64-bit size; nearly all of it is a hole.
    constexpr std::uint64_t GAP = 5'000'000'000;
    std::string box = std::string("\0\0\0\1free", 8);
    for (int shift = 56; shift >= 0; shift -= 8) {
        box += static_cast<char>(GAP >> shift & 0xff);
    }
    std::ofstream out(folder_.path("long.mp4"), std::ios::binary);
    out << film.substr(0, tables) << box;
    out.seekp(static_cast<std::streamoff>(tables + GAP));
    out << film.substr(tables);
    out.close();
    ASSERT_EQ(std::filesystem::file_size(folder_.path("long.mp4")), film.size() + GAP);
    list();
    EXPECT_EQ(longNumber(client_, at("long.mp4"), "DURATION"),
              longNumber(client_, at("short.mp4"), "DURATION"));
    EXPECT_GT(longNumber(client_, at("long.mp4"), "DURATION"), 0);
}

// MODIFIED_TIME and ADDED_TIME have 32 bits; the other fields have the true time.
TEST_F(FieldsOfFormats, TimesAfter2038AreTrueWhereThereIsRoomForThem) {
    make("ff -f lavfi -i testsrc2=size=32x32 -frames:v 1 a.jpg; cp a.jpg b.jpg; cp a.jpg c.jpg; "
         "exiftool -q -q -overwrite_original -EXIF:DateTimeOriginal='2101:02:03 04:05:06' a.jpg; "
         "touch -d 2100-05-06T07:08:09Z a.jpg; touch -d 2300-01-01T00:00:00Z b.jpg; "
         "touch -d 1960-01-01T00:00:00Z c.jpg");
    struct stat metadata {};
    ASSERT_EQ(stat(folder_.path("b.jpg").c_str(), &metadata), 0);
    if (metadata.st_mtim.tv_sec != 10'413'792'000) {
        GTEST_SKIP() << "the file system of the temporary folder keeps no such times";
    }
    client_.list({.path = folder_.path(), .sortCategory = "DATE"});
    const auto modified = [this](const char *name) { return client_.item(at(name))["modified"].asString(); };
    EXPECT_EQ(modified("a.jpg"), "2100-05-06T07:08:09Z");
    EXPECT_EQ(modified("b.jpg"), "2300-01-01T00:00:00Z");
    EXPECT_EQ(modified("c.jpg"), "1960-01-01T00:00:00Z");
    EXPECT_EQ(text(client_, at("a.jpg"), "MODIFIED_MONTH"), "2100-05");
    EXPECT_EQ(text(client_, at("b.jpg"), "MODIFIED_MONTH"), "2300-01");
    EXPECT_EQ(text(client_, at("a.jpg"), "DATE_TAKEN"), "2101-02-03T04:05:06");
    const auto seconds = [this](const char *name) {
        return support::fieldOf(client_, at(name), mrb_get_item_value_time_v2, "MODIFIED_TIME", 0).second;
    };
    EXPECT_EQ(seconds("a.jpg"), INT32_MAX);
    EXPECT_EQ(seconds("c.jpg"), -315'619'200);
}
