#pragma once

#include <libxml/tree.h>

#include <memory>
#include <string>

#include "base/result.h"

namespace mrb::dlna {

struct FreeDocument {
    void operator()(xmlDoc *document) const { xmlFreeDoc(document); }
};

struct Xml {
    std::unique_ptr<xmlDoc, FreeDocument> document; // null: it could be dangerous to read any of it
};

// Reads XML from a server. MRB_ERR_PROTOCOL: it is broken, and the document holds what
// stands before that, or it defines entities, which can be made to fill the memory, and
// there is none.
Outcome readXml(const std::string &text, Xml &xml);

// The same look at XML from a server, of which nothing is kept. `isReadable`: there is an
// element, and nothing is dangerous.
Outcome checkXml(const std::string &text, bool &isReadable);

// The first element of that name in an element, in any namespace. Null: there is none.
const xmlNode *childOf(const xmlNode *parent, const char *name);

// The text in an element; empty where there is no element.
std::string textOf(const xmlNode *element);

} // namespace mrb::dlna
