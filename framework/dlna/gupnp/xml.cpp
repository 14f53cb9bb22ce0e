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

// Before a definition is read that the parser would act upon.
void refuseDefinitions(void *context, const xmlChar * /*name*/, const xmlChar * /*id*/,
                       const xmlChar * /*system*/) {
    auto *parser = static_cast<xmlParserCtxt *>(context);
    *static_cast<bool *>(parser->_private) = true;
    xmlStopParser(parser);
}

} // namespace

Outcome readXml(const std::string &text, Xml &xml) {
    xml.document.reset();
    const std::unique_ptr<xmlParserCtxt, FreeParser> parser(xmlNewParserCtxt());
    if (!parser) {
        return {MRB_ERR_OUT_OF_MEMORY, "There is not enough memory to read an answer."};
    }
    bool hasDefinitions = false;
    parser->_private = &hasDefinitions;
    parser->sax->internalSubset = refuseDefinitions;
    // Going on after a fault, as the reader of DIDL-Lite does, so that nothing is met there
    // that was not met here.
    constexpr int OPTIONS = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_RECOVER;
    xml.document.reset(xmlCtxtReadMemory(parser.get(), text.data(), static_cast<int>(text.size()), nullptr,
                                         nullptr, OPTIONS));
    if (hasDefinitions) {
        xml.document.reset();
        return {MRB_ERR_PROTOCOL, "The server's answer defines entities, which is refused."};
    }
    if (parser->wellFormed == 0) {
        return {MRB_ERR_PROTOCOL, "The server's answer is broken XML."};
    }
    return {};
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
