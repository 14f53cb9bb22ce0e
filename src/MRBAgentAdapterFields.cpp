// The values of the items' fields.

#include "MRBAgentAdapter.h"

#include "MRBBridgeJson.h"
#include "agent_command.h"
#include "envelope.h"
#include "request.h"

namespace MRBBridge {

void CMRBAgentAdapter::m_InitFieldType(FieldTypes &types) {
    for (const Field &field : item_fields) {
        types.insert({field.name, field.type});
    }
}

_eMRBFieldType CMRBAgentAdapter::m_GetFieldType(const std::string &field) const {
    const auto found = field_types_.find(field);
    return found == field_types_.end() ? FIELD_TYPE_NONE : found->second;
}

} // namespace MRBBridge
