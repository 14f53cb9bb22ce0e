#pragma once
// The fields of an item, and the value type of each. A field's name is also its
// identifier in the framework.

#include <array>

namespace MRBBridge {

/// The value type of an item's field: which of the framework's getters reads it.
enum _eMRBFieldType { // NOLINT(bugprone-reserved-identifier): the system's own name
    FIELD_TYPE_NONE = 0,
    FIELD_TYPE_LINT = 1,
    FIELD_TYPE_DOUBLE = 2,
    FIELD_TYPE_TIME = 3,
    FIELD_TYPE_CHAR = 4,
    FIELD_TYPE_INT = 5,
    FIELD_TYPE_BOOL = 6,
};

struct Field {
    const char *name;
    _eMRBFieldType type;
};

extern const std::array<Field, 80> item_fields;

} // namespace MRBBridge
