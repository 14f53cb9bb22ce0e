#include "dlna/gupnp/xml.h"

#include <libxml/parser.h>

namespace mrb::dlna {
namespace {

struct FreeParser {
    void operator()(xmlParserCtxt *parser) const { xmlFreeParserCtxt(parser); }
};

struct FreeXmlText {
    void operator()(xmlChar *text) const { xmlFree(text); }
};

// What is learnt of a text while it is parsed.
struct Seen {
    bool hasDefinitions = false;
    bool hasElement = false;
};

Seen &seenBy(void *context) { return *static_cast<Seen *>(static_cast<xmlParserCtxt *>(context)->_private); }

// Before a definition is read that the parser would act upon.
void refuseDefinitions(void *context, const xmlChar * /*name*/, const xmlChar * /*id*/,
                       const xmlChar * /*system*/) {
    seenBy(context).hasDefinitions = true;
    xmlStopParser(static_cast<xmlParserCtxt *>(context));
}

void noteElement(void *context, const xmlChar * /*name*/, const xmlChar * /*prefix*/, const xmlChar * /*uri*/,
                 int /*namespaces*/, const xmlChar ** /*namespaceTexts*/, int /*attributes*/,
                 int /*defaulted*/, const xmlChar ** /*attributeTexts*/) {
    seenBy(context).hasElement = true;
}

using Parser = std::unique_ptr<xmlParserCtxt, FreeParser>;

Outcome parse(const Parser &parser, const std::string &text, Seen &seen, Xml &xml) {
    parser->_private = &seen;
    parser->sax->internalSubset = refuseDefinitions;
    // Going on after a fault, as the reader of DIDL-Lite does, so that nothing is met there
    // that was not met here.
    constexpr int OPTIONS = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_RECOVER;
    xml.document.reset(xmlCtxtReadMemory(parser.get(), text.data(), static_cast<int>(text.size()), nullptr,
                                         nullptr, OPTIONS));
    if (seen.hasDefinitions) {
        xml.document.reset();
        return {MRB_ERR_PROTOCOL, "The server's answer defines entities, which is refused."};
    }
    if (parser->wellFormed == 0) {
        return {MRB_ERR_PROTOCOL, "The server's answer is broken XML."};
    }
    return {};
}

Outcome noMemory() { return {MRB_ERR_OUT_OF_MEMORY, "There is not enough memory to read an answer."}; }

} // namespace

Outcome readXml(const std::string &text, Xml &xml) {
    xml.document.reset();
    const Parser parser(xmlNewParserCtxt());
    if (!parser) {
        return noMemory();
    }
    Seen seen;
    return parse(parser, text, seen, xml);
}

Outcome checkXml(const std::string &text, bool &isReadable) {
    isReadable = false;
    const Parser parser(xmlNewParserCtxt());
    if (!parser) {
        return noMemory();
    }
    *parser->sax = {};
    parser->sax->initialized = XML_SAX2_MAGIC;
    parser->sax->startElementNs = noteElement;
    Seen seen;
    Xml nothing;
    Outcome outcome = parse(parser, text, seen, nothing);
    isReadable = seen.hasElement && !seen.hasDefinitions;
    return outcome;
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
    const std::unique_ptr<xmlChar, FreeXmlText> text(xmlNodeGetContent(element));
    return text ? reinterpret_cast<const char *>(text.get()) : std::string();
}

} // namespace mrb::dlna
