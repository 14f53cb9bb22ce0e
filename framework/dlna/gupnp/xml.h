#pragma once

#include <libxml/tree.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "base/deleter.h"
#include "base/result.h"

namespace mrb::dlna {

struct Xml {
    std::unique_ptr<xmlDoc, Deleter<xmlFreeDoc>> document; // null: it was refused as dangerous
    bool isRepaired = false;                               // invalid bytes became U+FFFD
};

// Parses XML from a server. Errors in single characters, such as bytes that are not UTF-8 or a
// bare '&', affect only those. MRB_ERR_PROTOCOL: the document is broken beyond that and holds
// what could be parsed; or it defines entities, which could be made to fill the memory, and
// is null.
Status readXml(const std::string &text, Xml &xml);

struct XmlAttribute {
    std::string_view name; // without a prefix
    std::string_view value;
};

// Receives the elements of a document, in its order. The texts are UTF-8, and valid until
// the call returns.
class XmlElements {
  public:
    XmlElements() = default;
    virtual ~XmlElements() = default;
    XmlElements(const XmlElements &) = delete;
    XmlElements &operator=(const XmlElements &) = delete;

    // `name` is without a prefix.
    virtual void begin(std::string_view name, std::span<const XmlAttribute> attributes) = 0;
    // Part of the text of the open element.
    virtual void text(std::string_view bytes) = 0;
    // Of the open element. Not called for every element of a broken document.
    virtual void end() = 0;
};

// The same without a document, for long texts. No more than 256 elements are open at a time:
// deeper ones count as broken.
Status walkXml(const std::string &text, XmlElements &elements);

// The first child element of that name, in any namespace. Null: no such element.
const xmlNode *childOf(const xmlNode *parent, const char *name);

// The text in an element; empty when `element` is null.
std::string textOf(const xmlNode *element);

} // namespace mrb::dlna
