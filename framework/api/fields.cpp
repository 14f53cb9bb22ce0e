// The fields of the item under the cursor.

#include "api/with_list.h"
#include "mrb/agent.h"
#include "session/field_access.h"

using mrb::FieldType;
using mrb::ListSession;
using mrb::MetadataValue;
using mrb::Status;

namespace {

int report(const Status &status) {
    if (!status.ok() && !status.message.empty()) {
        MRB_LOG_WARNING("%s", status.message.c_str());
    }
    return status.code;
}

// Reads a field and passes its value, a Stored, to `keep`, whose code is returned.
template <typename Stored, typename Value, typename Keep>
int readField(mrb_agent_handler_h agent, const char *field, FieldType type, Value *value, Keep &&keep) {
    if (field == nullptr || value == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::withList(agent, [&](const ListSession &session) {
        MetadataValue found;
        const int code = report(mrb::readField(session, field, type, found));
        return code == MRB_ERR_NONE ? keep(std::get<Stored>(found)) : code;
    });
}

template <typename Value>
int readNumber(mrb_agent_handler_h agent, const char *field, FieldType type, Value *value) {
    return readField<std::int64_t>(agent, field, type, value, [&](std::int64_t number) {
        *value = static_cast<Value>(number);
        return static_cast<int>(MRB_ERR_NONE);
    });
}

template <typename Make>
int writeField(mrb_agent_handler_h agent, const char *field, Make &&make) {
    if (field == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::withList(
        agent, [&](const ListSession &session) { return report(mrb::writeField(session, field, make())); });
}

} // namespace

int mrb_get_item_value_lint_v2(mrb_agent_handler_h agent, const char *field, long long *value) {
    return readNumber(agent, field, FieldType::LINT, value);
}

int mrb_get_item_value_double_v2(mrb_agent_handler_h agent, const char *field, double *value) {
    return readField<double>(agent, field, FieldType::DOUBLE, value, [&](double number) {
        *value = number;
        return static_cast<int>(MRB_ERR_NONE);
    });
}

int mrb_get_item_value_time_v2(mrb_agent_handler_h agent, const char *field, int *value) {
    return readNumber(agent, field, FieldType::TIME, value);
}

int mrb_get_item_value_char_v2(mrb_agent_handler_h agent, const char *field, char **value) {
    return readField<std::string>(agent, field, FieldType::CHAR, value,
                                  [&](const std::string &text) { return mrb::copyToCaller(text, value); });
}

int mrb_get_item_value_int_v2(mrb_agent_handler_h agent, const char *field, int *value) {
    return readNumber(agent, field, FieldType::INT, value);
}

int mrb_get_item_value_bool_v2(mrb_agent_handler_h agent, const char *field, bool *value) {
    return readNumber(agent, field, FieldType::BOOL, value);
}

int mrb_set_item_value_char_v2(mrb_agent_handler_h agent, const char *field, const char *value) {
    if (value == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return writeField(agent, field, [&] { return MetadataValue(std::string(value)); });
}

int mrb_set_item_value_int_v2(mrb_agent_handler_h agent, const char *field, int value) {
    return writeField(agent, field, [&] { return MetadataValue(std::int64_t{value}); });
}
