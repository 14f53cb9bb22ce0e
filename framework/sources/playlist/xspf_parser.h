#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>

#include "base/deleter.h"
#include "sources/playlist/playlist_parser.h"

struct XML_ParserStruct;

namespace mrb {

// XSPF (xspf.org): tracks with location, title and duration (milliseconds) in XML. Locations are
// relative to the xml:base of the elements around them (w3.org/TR/xmlbase). A document type,
// without which there are no entities, is refused, as are elements that are nested deeper than
// any playlist, and tags longer than an entry may be.
class XspfParser final : public PlaylistParser {
  public:
    // A longer base is not a path of any system, and is refused too.
    static constexpr std::size_t MAX_BASE_LENGTH = 4096;

    // Throws std::bad_alloc.
    explicit XspfParser(Consumer take);
    ~XspfParser() override;
    [[nodiscard]] bool feed(std::string_view bytes) override;
    void finish() override;
    [[nodiscard]] bool isBroken() const override { return isBroken_; }

  private:
    struct Handlers;
    friend struct Handlers;

    void begin(std::string_view element, const char *const *attributes);
    void end();
    void append(std::string_view text);
    void takeTrack();
    [[nodiscard]] std::string target() const;
    void stop(bool isBroken);
    [[nodiscard]] bool parse(std::string_view bytes, bool isLast);

    static void free(XML_ParserStruct *parser);

    const Consumer take_;
    const std::unique_ptr<XML_ParserStruct, Deleter<free>> parser_;
    bool isBroken_ = false;
    bool isEnough_ = false;
    std::exception_ptr failure_; // of a callback; must not pass through expat
    std::int64_t fed_ = 0;       // bytes

    int level_ = 0;               // depth of open elements
    int known_ = 0;               // how many of those, from the outermost on, enclose tracks
    std::string *text_ = nullptr; // the member below that collects text; null: none
    bool isFirstLocation_ = true;
    std::array<std::string, 4> bases_; // of the enclosing elements and the location; empty: none
    std::string location_;
    std::string title_;
    std::string duration_;
};

} // namespace mrb
