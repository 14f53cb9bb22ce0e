#include "thumbnail/video/cover_tags.h"

#include <taglib/aifffile.h>
#include <taglib/apefile.h>
#include <taglib/apetag.h>
#include <taglib/asffile.h>
#include <taglib/asfpicture.h>
#include <taglib/asftag.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/mpegfile.h>
#include <taglib/tfilestream.h>
#include <taglib/wavfile.h>
#include <taglib/wavpackfile.h>
#include <taglib/xiphcomment.h>

namespace mrb::thumbnail {
namespace {

// Larger than any cover; tags may claim any size.
constexpr unsigned long MAX_BLOCK_BYTES = 64UL << 20;

// A file stream of TagLib with a maximum for each read.
class BoundedStream final : public TagLib::FileStream {
  public:
    using TagLib::FileStream::FileStream;
    TagLib::ByteVector readBlock(unsigned long length) override {
        return length > MAX_BLOCK_BYTES ? TagLib::ByteVector() : TagLib::FileStream::readBlock(length);
    }
};

// Collects pictures and chooses the best one.
class Choice {
  public:
    void add(const TagLib::ByteVector &picture, bool front) {
        if (!picture.isEmpty() && (chosen_.isEmpty() || (front && !front_))) {
            chosen_ = picture;
            front_ = front;
        }
    }
    [[nodiscard]] Bytes bytes() const { return {chosen_.begin(), chosen_.end()}; }

  private:
    TagLib::ByteVector chosen_;
    bool front_ = false;
};

void addFrom(const TagLib::ID3v2::Tag *tag, Choice &choice) {
    if (tag == nullptr) {
        return;
    }
    for (const TagLib::ID3v2::Frame *frame : tag->frameList("APIC")) {
        const auto *picture = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame *>(frame);
        if (picture != nullptr) {
            choice.add(picture->picture(),
                       picture->type() == TagLib::ID3v2::AttachedPictureFrame::FrontCover);
        }
    }
}

void addFrom(const TagLib::List<TagLib::FLAC::Picture *> &pictures, Choice &choice) {
    for (const TagLib::FLAC::Picture *picture : pictures) {
        choice.add(picture->data(), picture->type() == TagLib::FLAC::Picture::FrontCover);
    }
}

// "Cover Art (Front)": a file name, a zero byte, the picture.
void addFrom(const TagLib::APE::Tag *tag, Choice &choice) {
    if (tag == nullptr) {
        return;
    }
    for (const auto &[key, item] : tag->itemListMap()) {
        const TagLib::ByteVector data = item.binaryData();
        const int zero = data.find('\0');
        if (key.upper().startsWith("COVER ART") && zero >= 0) {
            choice.add(data.mid(static_cast<unsigned>(zero) + 1), key.upper() == "COVER ART (FRONT)");
        }
    }
}

void addFrom(const TagLib::MP4::Tag *tag, Choice &choice) {
    if (tag != nullptr && tag->contains("covr")) {
        for (const TagLib::MP4::CoverArt &cover : tag->item("covr").toCoverArtList()) {
            choice.add(cover.data(), false);
        }
    }
}

void addFrom(TagLib::ASF::Tag *tag, Choice &choice) {
    if (tag != nullptr) {
        for (const TagLib::ASF::Attribute &attribute : tag->attribute("WM/Picture")) {
            const TagLib::ASF::Picture picture = attribute.toPicture();
            choice.add(picture.picture(), picture.type() == TagLib::ASF::Picture::FrontCover);
        }
    }
}

void addFrom(TagLib::File *file, Choice &choice) {
    if (file == nullptr) {
        return;
    }
    if (auto *mpeg = dynamic_cast<TagLib::MPEG::File *>(file)) {
        addFrom(mpeg->ID3v2Tag(), choice);
        addFrom(mpeg->APETag(), choice);
    } else if (auto *flac = dynamic_cast<TagLib::FLAC::File *>(file)) {
        addFrom(flac->pictureList(), choice);
        addFrom(flac->ID3v2Tag(), choice);
    } else if (auto *mp4 = dynamic_cast<TagLib::MP4::File *>(file)) {
        addFrom(mp4->tag(), choice);
    } else if (auto *asf = dynamic_cast<TagLib::ASF::File *>(file)) {
        addFrom(asf->tag(), choice);
    } else if (auto *wave = dynamic_cast<TagLib::RIFF::WAV::File *>(file)) {
        addFrom(wave->ID3v2Tag(), choice);
    } else if (auto *aiff = dynamic_cast<TagLib::RIFF::AIFF::File *>(file)) {
        addFrom(aiff->tag(), choice);
    } else if (auto *ape = dynamic_cast<TagLib::APE::File *>(file)) {
        addFrom(ape->APETag(), choice);
    } else if (auto *mpc = dynamic_cast<TagLib::MPC::File *>(file)) {
        addFrom(mpc->APETag(), choice);
    } else if (auto *wavPack = dynamic_cast<TagLib::WavPack::File *>(file)) {
        addFrom(wavPack->APETag(), choice);
    } else if (auto *xiph = dynamic_cast<TagLib::Ogg::XiphComment *>(file->tag())) {
        addFrom(xiph->pictureList(), choice);
    }
}

} // namespace

Bytes coverOfTags(const std::string &path) {
    Choice choice;
    BoundedStream stream(path.c_str(), true);
    const TagLib::FileRef file(&stream, false);
    addFrom(file.file(), choice);
    return choice.bytes();
}

} // namespace mrb::thumbnail
