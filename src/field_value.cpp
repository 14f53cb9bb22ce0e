#include "field_value.h"

#include <array>

#include "envelope.h"
#include "framework_text.h"

namespace MRBBridge {
namespace {

template <auto Get, typename Value, ReturnType Type>
FieldValue Read(mrb_agent_handler_h agent, const char *field) {
    Value value{};
    const int result = Get(agent, field, &value);
    return {result, Answer(result, Type, value)};
}

/// Scripts receive the low 32 bits of a 64-bit integer.
FieldValue ReadWide(mrb_agent_handler_h agent, const char *field) {
    long long value = 0;
    const int result = mrb_get_item_value_lint_v2(agent, field, &value);
    return {result, Answer(result, RETURN_TYPE_INTEGER, static_cast<int>(value))};
}

/// A text is released whatever the result.
FieldValue ReadText(mrb_agent_handler_h agent, const char *field) {
    char *text = nullptr;
    const int result = mrb_get_item_value_char_v2(agent, field, &text);
    return {result, Answer(result, RETURN_TYPE_TEXT, TakeText(text))};
}

/// By value type, from FIELD_TYPE_LINT on.
constexpr std::array<FieldGetter, FIELD_TYPE_BOOL> getters = {{
    {"lint", &ReadWide},
    {"double", &Read<&mrb_get_item_value_double_v2, double, RETURN_TYPE_DOUBLE>},
    {"time", &Read<&mrb_get_item_value_time_v2, int, RETURN_TYPE_INTEGER>},
    {"char", &ReadText},
    {"int", &Read<&mrb_get_item_value_int_v2, int, RETURN_TYPE_INTEGER>},
    {"bool", &Read<&mrb_get_item_value_bool_v2, bool, RETURN_TYPE_BOOL>},
}};
static_assert(FIELD_TYPE_LINT == 1 && FIELD_TYPE_DOUBLE == 2 && FIELD_TYPE_TIME == 3 &&
              FIELD_TYPE_CHAR == 4 && FIELD_TYPE_INT == 5 && FIELD_TYPE_BOOL == 6);

} // namespace

const FieldGetter *FindFieldGetter(_eMRBFieldType type) {
    return type == FIELD_TYPE_NONE ? nullptr : &getters[static_cast<size_t>(type) - 1];
}

} // namespace MRBBridge
