// The agent's item fields: which type each has, and reading and writing their values.

#include "MRBAgentAdapter.h"

#include "MRBBridgeJson.h"
#include "agent_command.h"
#include "envelope.h"
#include "request.h"

namespace MRBBridge {
namespace {

/// What one of the framework's getters gave.
struct FieldValue {
    int result;
    std::string answer;
};

/// Asks a getter for a field of the item under the cursor. `get` is the getter of
/// values of type `Value`.
template <typename Value>
FieldValue ReadField(int (*get)(mrb_agent_handler_h, const char *, Value *), mrb_agent_handler_h agent,
                     const std::string &field, ReturnType type) {
    Value value{};
    const int result = get(agent, field.c_str(), &value);
    return {result, Answer(result, type, value)};
}

/// The same for a text, which is released whatever the result.
FieldValue ReadTextField(mrb_agent_handler_h agent, const std::string &field) {
    char *text = nullptr;
    const int result = mrb_get_item_value_char_v2(agent, field.c_str(), &text);
    return {result, Answer(result, RETURN_TYPE_TEXT, TakeText(text))};
}

/// The same for a 64-bit integer, of which scripts get the low 32 bits.
FieldValue ReadWideField(mrb_agent_handler_h agent, const std::string &field) {
    long long value = 0;
    const int result = mrb_get_item_value_lint_v2(agent, field.c_str(), &value);
    return {result, Answer(result, RETURN_TYPE_INTEGER, static_cast<int>(value))};
}

} // namespace

void CMRBAgentAdapter::m_InitFieldType(FieldTypes &types) {
    for (const Field &field : item_fields) {
        types.insert({field.name, field.type});
    }
}

_eMRBFieldType CMRBAgentAdapter::m_GetFieldType(const std::string &field) const {
    const auto found = field_types_.find(field);
    return found == field_types_.end() ? FIELD_TYPE_NONE : found->second;
}

std::string CMRBAgentAdapter::GetItemValue(const std::string &request) {
    const char *const command = "mrb_get_item_value_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    const std::string field = Text(json, "param_field");
    MRB_LOG(LogTag::Agent, "Agent[%p],index[%d], field[%s]", HandlePointer(agent), index, field.c_str());

    const int moved = mrb_move_to_index_v2(agent, index);
    if (moved != MRB_ERR_NONE) {
        RETURN_ANSWER(command, moved);
    }
    FieldValue value{};
    switch (m_GetFieldType(field)) {
    case FIELD_TYPE_LINT:
        MRB_LOG(LogTag::Agent, "Dealing get lint value.");
        value = ReadWideField(agent, field);
        break;
    case FIELD_TYPE_DOUBLE:
        MRB_LOG(LogTag::Agent, "Dealing get double value.");
        value = ReadField(mrb_get_item_value_double_v2, agent, field, RETURN_TYPE_DOUBLE);
        break;
    case FIELD_TYPE_TIME:
        MRB_LOG(LogTag::Agent, "Dealing get time value.");
        value = ReadField(mrb_get_item_value_time_v2, agent, field, RETURN_TYPE_INTEGER);
        break;
    case FIELD_TYPE_CHAR:
        MRB_LOG(LogTag::Agent, "Dealing get char value.");
        value = ReadTextField(agent, field);
        break;
    case FIELD_TYPE_INT:
        MRB_LOG(LogTag::Agent, "Dealing get int value.");
        value = ReadField(mrb_get_item_value_int_v2, agent, field, RETURN_TYPE_INTEGER);
        break;
    case FIELD_TYPE_BOOL:
        MRB_LOG(LogTag::Agent, "Dealing get bool value.");
        value = ReadField(mrb_get_item_value_bool_v2, agent, field, RETURN_TYPE_BOOL);
        break;
    case FIELD_TYPE_NONE:
        // A success without data: applications ask for fields of newer systems too.
        MRB_LOG(LogTag::Agent, "Dealing error field.");
        value = {MRB_ERR_NONE, Answer(MRB_ERR_NONE)};
        break;
    }
    LOG_ANSWER(command, value.result, value.answer);
    return value.answer;
}

std::string CMRBAgentAdapter::SetItemValue(const std::string &request) {
    const char *const command = "mrb_set_item_value_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    const std::string field = Text(json, "param_field");

    int result = mrb_move_to_index_v2(agent, index);
    if (result == MRB_ERR_NONE) {
        switch (m_GetFieldType(field)) {
        case FIELD_TYPE_CHAR: {
            MRB_LOG(LogTag::Agent, "Dealing set string value.");
            const std::string value = Text(json, "param_value");
            MRB_LOG(LogTag::Agent, "agent[%p] field[%s] pValue[%s]", HandlePointer(agent), field.c_str(),
                    value.c_str());
            result = mrb_set_item_value_char_v2(agent, field.c_str(), value.c_str());
            break;
        }
        case FIELD_TYPE_INT: {
            MRB_LOG(LogTag::Agent, "Dealing set int value.");
            const int value = Int(json, "param_value");
            MRB_LOG(LogTag::Agent, "Agent[%p] field[%s] nValue[%d]", HandlePointer(agent), field.c_str(),
                    value);
            result = mrb_set_item_value_int_v2(agent, field.c_str(), value);
            break;
        }
        default:
            MRB_LOG(LogTag::Agent, "Not support operation for setting[%s].", field.c_str());
            break;
        }
    }
    RETURN_ANSWER(command, result);
}

} // namespace MRBBridge
