#include "sources/playlist/xspf_parser.h"

#include <expat.h>

#include <algorithm>
#include <new>
#include <utility>

#include "sources/playlist/reference.h"

namespace mrb {
namespace {

// The elements that enclose a track, the outermost first.
constexpr std::string_view WAY[] = {"playlist", "trackList", "track"};
constexpr int TRACK_LEVEL = 3;

// Extensions of the format may nest elements; this is deeper than any does.
constexpr int MAX_LEVEL = 64;

constexpr double MILLISECOND = 1;

// The maximum passed to expat at a time, so that a token without an end is noticed early.
constexpr std::size_t PIECE = 16UL << 10;

std::string_view localName(std::string_view name) {
    const std::size_t colon = name.rfind(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view BLANKS = " \t\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(BLANKS), text.size()));
    return text.substr(0, text.find_last_not_of(BLANKS) + 1);
}

// Attributes alternate names and values, with a null at the end.
std::string_view baseIn(const char *const *attributes) {
    for (; *attributes != nullptr; attributes += 2) {
        if (attributes[0] == std::string_view("xml:base")) {
            return trimmed(attributes[1]);
        }
    }
    return {};
}

} // namespace

// The callbacks of expat.
struct XspfParser::Handlers {
    template <typename Work>
    static void guarded(void *self, Work work) {
        auto &parser = *static_cast<XspfParser *>(self);
        try {
            work(parser);
        } catch (...) {
            parser.failure_ = std::current_exception();
            parser.stop(false);
        }
    }

    static void begin(void *self, const XML_Char *name, const XML_Char **attributes) {
        guarded(self, [=](XspfParser &parser) { parser.begin(name, attributes); });
    }
    static void end(void *self, const XML_Char * /*name*/) {
        guarded(self, [](XspfParser &parser) { parser.end(); });
    }
    static void text(void *self, const XML_Char *bytes, int length) {
        guarded(self, [=](XspfParser &parser) { parser.append({bytes, static_cast<std::size_t>(length)}); });
    }
    static void documentType(void *self, const XML_Char * /*name*/, const XML_Char * /*system*/,
                             const XML_Char * /*publicId*/, int /*hasSubset*/) {
        static_cast<XspfParser *>(self)->stop(true);
    }
};

void XspfParser::free(XML_ParserStruct *parser) { XML_ParserFree(parser); }

XspfParser::XspfParser(Consumer take) : take_(std::move(take)), parser_(XML_ParserCreate(nullptr)) {
    if (!parser_) {
        throw std::bad_alloc();
    }
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(parser_.get(), Handlers::begin, Handlers::end);
    XML_SetCharacterDataHandler(parser_.get(), Handlers::text);
    XML_SetStartDoctypeDeclHandler(parser_.get(), Handlers::documentType);
}

XspfParser::~XspfParser() = default;

bool XspfParser::feed(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::string_view piece = bytes.substr(0, PIECE);
        if (!parse(piece, false)) {
            return false;
        }
        bytes.remove_prefix(piece.size());
    }
    return true;
}

void XspfParser::finish() { static_cast<void>(parse({}, true)); }

bool XspfParser::parse(std::string_view bytes, bool isLast) {
    const bool isRead = XML_Parse(parser_.get(), bytes.data(), static_cast<int>(bytes.size()),
                                  isLast ? XML_TRUE : XML_FALSE) == XML_STATUS_OK;
    if (failure_) {
        std::rethrow_exception(std::exchange(failure_, nullptr));
    }
    isBroken_ = isBroken_ || (!isRead && !isEnough_);
    // Expat keeps the beginning of a token, such as a tag, until its end arrives, and may scan it
    // again from the beginning each time.
    fed_ += static_cast<std::int64_t>(bytes.size());
    const std::int64_t understood = std::max<std::int64_t>(XML_GetCurrentByteIndex(parser_.get()), 0);
    isBroken_ = isBroken_ || fed_ - understood > static_cast<std::int64_t>(MAX_TEXT_LENGTH + PIECE);
    return !isBroken_ && !isEnough_;
}

void XspfParser::begin(std::string_view element, const char *const *attributes) {
    const std::string_view name = localName(element);
    const std::string_view base = baseIn(attributes);
    const int level = level_++;
    if (level >= MAX_LEVEL || base.size() > MAX_BASE_LENGTH) {
        stop(true);
        return;
    }
    text_ = nullptr;
    if (level == known_ && level < TRACK_LEVEL) {
        if (name == WAY[level]) {
            bases_.at(static_cast<std::size_t>(known_++)) = base;
        } else if (level == 0) {
            stop(true); // a document of another format
        }
    } else if (level == TRACK_LEVEL && known_ == TRACK_LEVEL) {
        if (name == "location" && isFirstLocation_) {
            text_ = &location_;
            bases_.back() = base;
        }
        text_ = name == "title" ? &title_ : text_;
        text_ = name == "duration" ? &duration_ : text_;
    }
}

void XspfParser::end() {
    --level_;
    if (text_ == &location_) {
        isFirstLocation_ = false; // further locations are alternatives for the same track
    }
    text_ = nullptr;
    if (known_ > level_) {
        if (known_ == TRACK_LEVEL) {
            takeTrack();
        }
        known_ = level_;
    }
}

void XspfParser::append(std::string_view text) {
    // One byte above the maximum, by which takeTrack detects a text that is too long.
    if (text_ != nullptr && text_->size() <= MAX_TEXT_LENGTH) {
        text_->append(text.substr(0, MAX_TEXT_LENGTH + 1 - text_->size()));
    }
}

void XspfParser::takeTrack() {
    // Expat may report the end of the element that stopped it.
    const std::string location = isEnough_ ? std::string() : target();
    if (!location.empty() && location.size() <= MAX_TEXT_LENGTH &&
        !take_({location, trimmed(title_), durationOf(duration_, MILLISECOND), true})) {
        stop(false);
    }
    location_.clear();
    title_.clear();
    duration_.clear();
    isFirstLocation_ = true;
}

// Resolved for entries only: a document may hold a million bases and no track.
std::string XspfParser::target() const {
    const std::string_view location = trimmed(location_);
    if (location.empty() || location.size() > MAX_TEXT_LENGTH) {
        return {};
    }
    std::string base;
    for (const std::string &each : bases_) {
        base = each.empty() ? base : resolved(base, each);
    }
    return resolved(base, location);
}

void XspfParser::stop(bool isBroken) {
    isBroken_ = isBroken_ || isBroken;
    isEnough_ = true;
    XML_StopParser(parser_.get(), XML_FALSE);
}

} // namespace mrb
