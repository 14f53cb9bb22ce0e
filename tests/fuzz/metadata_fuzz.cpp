// Media files are untrusted: whatever their bytes, their metadata are read without harm, and all
// texts can be displayed.

#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <variant>

#include "metadata/media_file.h"
#include "metadata/reading.h"

namespace {

void require(bool key) {
    if (!key) {
        std::abort();
    }
}

// The name decides where the bytes are ambiguous.
constexpr const char *NAMES[] = {"a.jpg", "a.mp3", "a.mp4", "a.ts", "a.heic", "a.wav", "a.m4a"};

void expectPresentable(const mrb::Metadata &metadata) {
    for (std::size_t number = 0; number < mrb::METADATA_KEYS; ++number) {
        const mrb::MetadataValue &value = metadata[static_cast<mrb::MetadataKey>(number)];
        if (const auto *text = std::get_if<std::string>(&value)) {
            require(!text->empty() && text->size() <= mrb::Metadata::MAX_TEXT_LENGTH);
            require(mrb::cleanText(*text) == *text);
        } else if (const auto *real = std::get_if<double>(&value)) {
            require(std::isfinite(*real));
        } else if (const auto *whole = std::get_if<std::int64_t>(&value)) {
            require(*whole >= 0);
        }
    }
    require(metadata.number(mrb::MetadataKey::ORIENTATION) <= 8);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const int file = memfd_create("media", MFD_CLOEXEC);
    require(file >= 0 && write(file, data, size) == static_cast<ssize_t>(size));
    mrb::MediaFile media;
    mrb::Metadata metadata;
    require(media.open("/proc/self/fd/" + std::to_string(file)).ok());
    mrb::Status status;
    mrb::mrb_read_metadata(media, NAMES[size % std::size(NAMES)], metadata, status);
    if (status.ok()) {
        expectPresentable(metadata);
    }
    close(file);
    return 0;
}
