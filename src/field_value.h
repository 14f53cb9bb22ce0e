#pragma once
// Reading the values of item fields: the framework has a getter for each value type.

#include <string>

#include "item_fields.h"
#include "mrb/agent.h"

namespace MRBBridge {

/// The result of one of the framework's getters, and the answer built from it.
struct FieldValue {
    int result;
    std::string answer;
};

/// How the fields of one value type are read.
struct FieldGetter {
    const char *type; ///< its name in log lines
    /// Reads a field of the item under a list's cursor.
    FieldValue (*read)(mrb_agent_handler_h agent, const char *field);
};

/// The getter of a value type; null for FIELD_TYPE_NONE.
const FieldGetter *FindFieldGetter(_eMRBFieldType type);

} // namespace MRBBridge
