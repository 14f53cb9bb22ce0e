#pragma once

#include <tiostream.h>

#include <string>

#include "metadata/media_file.h"

namespace mrb {

// A media file as a read-only stream of TagLib, bounded by the file. Used by one thread, and no
// longer than its file.
class MusicStream final : public TagLib::IOStream {
  public:
#if TAGLIB_MAJOR_VERSION >= 2
    using Offset = TagLib::offset_t;
    using Length = std::size_t;
    using Start = TagLib::offset_t;
#else
    using Offset = long;
    using Length = unsigned long;
    using Start = unsigned long;
#endif

    // From `name` TagLib guesses the file's format.
    MusicStream(MediaFile &file, std::string name) : file_(file), name_(std::move(name)) {}

    [[nodiscard]] TagLib::FileName name() const override { return name_.c_str(); }
    TagLib::ByteVector readBlock(Length length) override;
    void seek(Offset offset, Position from) override;
    [[nodiscard]] Offset tell() const override { return static_cast<Offset>(position_); }
    Offset length() override { return static_cast<Offset>(file_.size()); }
    [[nodiscard]] bool readOnly() const override { return true; }
    [[nodiscard]] bool isOpen() const override { return true; }

    void writeBlock(const TagLib::ByteVector & /*data*/) override {}
    void insert(const TagLib::ByteVector & /*data*/, Start /*start*/, Length /*replace*/) override {}
    void removeBlock(Start /*start*/, Length /*length*/) override {}
    void truncate(Offset /*length*/) override {}

  private:
    MediaFile &file_;
    const std::string name_;
    std::int64_t position_ = 0;
};

} // namespace mrb
