#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "library/cache.h"
#include "list/list.h"

namespace mrb {

// The value types of fields; each has a function of mrb/agent.h.
enum class FieldType : std::uint8_t { LINT, DOUBLE, TIME, CHAR, INT, BOOL };

// The field that a share of the lock type writes, and no client.
inline constexpr const char *CONTENT_LOCK = "CONTENT_LOCK";

// What a field's value is made of.
enum class FieldNeeds : std::uint8_t {
    NUMBERS, // the list's numbers of it
    ENTRY,   // all that the list knows
    PLACE,   // that, and where the item lies
    WRITTEN, // what the list knows, and what clients wrote
    FILE     // all that, and the file's metadata
};

// The entry that a field is asked of.
struct FieldSubject {
    const ListEntry &entry;
    const ItemLocation &location;
    const MediaRecord &record;
};

// Its members stand in the order of the table's columns.
struct Field { // NOLINT(clang-analyzer-optin.performance.Padding): said above
    std::string_view name;
    FieldType type;
    FieldNeeds needs;
    // Nothing: the entry does not have it.
    FactValue (*value)(const FieldSubject &subject);
    // A client may write it: whole numbers in this range, or texts.
    bool isWritable = false;
    int least = 0;
    int most = 0;
    // Where there is none, the empty value would be mistaken for a real one.
    bool isRequired = false;
};

// All fields, in no order that matters.
std::span<const Field> fields();

// Null: there is no such field. The name counts letter by letter.
const Field *findField(std::string_view name);

// What a client wrote into the field; null: nothing. A written text that is empty counts as none.
const FactValue *writtenValue(const Field &field, const MediaRecord &record);

// The value of an entry that has `record`: what a client wrote, else its own; nothing
// where there is none. It is not yet in the field's type.
FactValue fieldValue(const Field &field, const ListEntry &entry, const ItemLocation &location,
                     const MediaRecord &record);

} // namespace mrb
