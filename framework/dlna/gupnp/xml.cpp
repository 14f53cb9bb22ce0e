#include "dlna/gupnp/xml.h"

#include <glib.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <vector>

#include "base/deleter.h"
#include "dlna/gupnp/gobject.h"

namespace mrb::dlna {
namespace {

// xmlFree is a variable.
void freeXmlText(xmlChar *text) { xmlFree(text); }

// Errors that affect only the characters where they occur.
constexpr int LETTER_FAULTS[] = {
    XML_ERR_INVALID_CHAR,        XML_ERR_INVALID_CHARREF,     XML_ERR_INVALID_HEX_CHARREF,
    XML_ERR_INVALID_DEC_CHARREF, XML_ERR_UNDECLARED_ENTITY,   XML_ERR_NAME_REQUIRED,
    XML_ERR_ENTITYREF_NO_NAME,   XML_ERR_MISPLACED_CDATA_END, XML_ERR_ENTITYREF_SEMICOL_MISSING,
    XML_ERR_ATTRIBUTE_REDEFINED,
};

// State of a parser run.
struct Seen {
    XmlElements *elements = nullptr; // receives the elements; null: a document is built
    bool hasDefinitions = false;
    bool isBroken = false;
    bool isOutOfMemory = false;
    std::vector<XmlAttribute> attributes; // of the current start tag
};

Seen &seenBy(void *context) { return *static_cast<Seen *>(static_cast<xmlParserCtxt *>(context)->_private); }

std::string_view viewOf(const xmlChar *text) {
    return text != nullptr ? reinterpret_cast<const char *>(text) : std::string_view();
}

// Called before a definition that the parser would act upon.
void refuseDefinitions(void *context, const xmlChar * /*name*/, const xmlChar * /*id*/,
                       const xmlChar * /*system*/) {
    seenBy(context).hasDefinitions = true;
    xmlStopParser(static_cast<xmlParserCtxt *>(context));
}

// No exception may cross the parser.
template <typename Call>
void guarded(void *context, Call call) {
    Seen &seen = seenBy(context);
    try {
        call(seen);
    } catch (const std::exception &) {
        seen.isOutOfMemory = true;
        xmlStopParser(static_cast<xmlParserCtxt *>(context));
    }
}

void beginElement(void *context, const xmlChar *name, const xmlChar * /*prefix*/, const xmlChar * /*uri*/,
                  int /*namespaces*/, const xmlChar ** /*namespaceTexts*/, int attributes, int /*defaulted*/,
                  const xmlChar **texts) {
    guarded(context, [&](Seen &seen) {
        constexpr int TEXTS = 5; // per attribute: name, prefix, URI, begin and end of the value
        seen.attributes.clear();
        for (const xmlChar **each = texts; each != texts + std::ptrdiff_t{TEXTS} * attributes;
             each += TEXTS) {
            const auto *begin = reinterpret_cast<const char *>(each[3]);
            const auto *end = reinterpret_cast<const char *>(each[4]);
            seen.attributes.push_back({viewOf(each[0]), {begin, static_cast<std::size_t>(end - begin)}});
        }
        seen.elements->begin(viewOf(name), seen.attributes);
    });
}

void endElement(void *context, const xmlChar * /*name*/, const xmlChar * /*prefix*/,
                const xmlChar * /*uri*/) {
    guarded(context, [](Seen &seen) { seen.elements->end(); });
}

void addText(void *context, const xmlChar *text, int length) {
    guarded(context, [&](Seen &seen) {
        seen.elements->text({reinterpret_cast<const char *>(text), static_cast<std::size_t>(length)});
    });
}

using Parser = std::unique_ptr<xmlParserCtxt, Deleter<xmlFreeParserCtxt>>;

bool isForbidden(unsigned char letter) {
    constexpr unsigned char BLANK = ' ';
    return letter < BLANK && letter != '\t' && letter != '\n' && letter != '\r';
}

// Whether the text declares UTF-8, which servers must use, or no encoding at all.
bool claimsUtf8(std::string_view text) {
    constexpr std::size_t MAX_DECLARATION_LENGTH = 200;
    if (text.starts_with("\xff\xfe") || text.starts_with("\xfe\xff") || text.find('\0') < 4) {
        return false;
    }
    std::string start(text.substr(0, std::min(text.find("?>"), MAX_DECLARATION_LENGTH)));
    std::ranges::transform(start, start.begin(), [](char letter) { return g_ascii_tolower(letter); });
    return !start.starts_with("<?xml") || start.find("encoding") == std::string::npos ||
           start.find("utf-8") != std::string::npos;
}

// Removes characters that no XML document may contain; false: there are none.
bool repair(const std::string &text, std::string &repaired) {
    const bool isUtf8 = g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE;
    if ((isUtf8 && std::ranges::none_of(text, isForbidden)) || !claimsUtf8(text)) {
        return false;
    }
    repaired = text;
    std::ranges::replace_if(repaired, isForbidden, ' ');
    const Text valid(g_utf8_make_valid(repaired.data(), static_cast<gssize>(repaired.size())));
    repaired = valid.get();
    return true;
}

Status parse(const std::string &text, Seen &seen, Xml &xml) {
    xml.document.reset();
    const Parser parser(xmlNewParserCtxt());
    if (!parser) {
        return Status::outOfMemory("There is not enough memory to parse a response.");
    }
    if (seen.elements != nullptr) {
        *parser->sax = {};
        parser->sax->initialized = XML_SAX2_MAGIC;
        parser->sax->startElementNs = beginElement;
        parser->sax->endElementNs = endElement;
        parser->sax->characters = addText;
        parser->sax->cdataBlock = addText;
    }
    parser->_private = &seen;
    parser->sax->internalSubset = refuseDefinitions;
    // The type of `error` differs between versions of libxml2.
    parser->sax->serror = [](void *context, auto *error) {
        const bool isOfLetters = std::ranges::find(LETTER_FAULTS, error->code) != std::end(LETTER_FAULTS);
        if (error->level == XML_ERR_FATAL && !isOfLetters) {
            seenBy(context).isBroken = true;
        }
    };
    // Continues after an error. Entities are substituted, since only XML's predefined ones exist.
    constexpr int OPTIONS =
        XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_RECOVER | XML_PARSE_NOENT;
    std::string repaired;
    xml.isRepaired = repair(text, repaired);
    const std::string &whole = xml.isRepaired ? repaired : text;
    xml.document.reset(xmlCtxtReadMemory(parser.get(), whole.data(), static_cast<int>(whole.size()), nullptr,
                                         nullptr, OPTIONS));
    if (seen.isOutOfMemory) {
        return Status::outOfMemory("There is not enough memory to parse a response.");
    }
    if (seen.hasDefinitions) {
        xml.document.reset();
        return Status::protocolError("The server's response defines entities, which is refused.");
    }
    if (seen.isBroken) {
        return Status::protocolError("The server's response is broken XML.");
    }
    return {};
}

} // namespace

Status readXml(const std::string &text, Xml &xml) {
    Seen seen;
    return parse(text, seen, xml);
}

Status walkXml(const std::string &text, XmlElements &elements) {
    Seen seen;
    seen.elements = &elements;
    Xml nothing;
    return parse(text, seen, nothing);
}

const xmlNode *childOf(const xmlNode *parent, const char *name) {
    for (const xmlNode *child = parent != nullptr ? parent->children : nullptr; child != nullptr;
         child = child->next) {
        if (child->type == XML_ELEMENT_NODE &&
            xmlStrcmp(child->name, reinterpret_cast<const xmlChar *>(name)) == 0) {
            return child;
        }
    }
    return nullptr;
}

std::string textOf(const xmlNode *element) {
    if (element == nullptr) {
        return {};
    }
    const std::unique_ptr<xmlChar, Deleter<freeXmlText>> text(xmlNodeGetContent(element));
    return text ? reinterpret_cast<const char *>(text.get()) : std::string();
}

} // namespace mrb::dlna
