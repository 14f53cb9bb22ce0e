#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "library/cache.h"
#include "list/list.h"

namespace mrb {

// The value types of fields; each has a function of mrb/agent.h.
enum class FieldType : std::uint8_t { LINT, DOUBLE, TIME, CHAR, INT, BOOL };

// A field that only a share of the lock type writes, never a client.
inline constexpr const char *CONTENT_LOCK = "CONTENT_LOCK";

// The data that a field's value is made of.
enum class FieldNeeds : std::uint8_t {
    NUMBERS,  // the list's numbers only
    ENTRY,    // everything in the list
    LOCATION, // that, and the item's location
    WRITTEN,  // everything in the list, and the fields that clients wrote
    FILE      // all of these, and the file's metadata
};

// The entry whose field is read.
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
    // Returns no value where the entry does not have the field.
    MetadataValue (*value)(const FieldSubject &subject);
    // A client may write it: whole numbers in this range, or texts.
    bool isWritable = false;
    int minimum = 0;
    int maximum = 0;
    // A missing value is an error, since the empty value would be mistaken for a real one.
    bool isRequired = false;
};

// All fields, unordered.
std::span<const Field> fields();

// Null: there is no such field. The name is case-sensitive.
const Field *findField(std::string_view name);

// The value that a client wrote into the field; null: none. A written text that is empty
// counts as no value.
const MetadataValue *writtenValue(const Field &field, const MediaRecord &record);

// The value of an entry that has `record`: what a client wrote, else the entry's own; no value
// where there is none. It is not yet converted to the field's type.
MetadataValue fieldValue(const Field &field, const ListEntry &entry, const ItemLocation &location,
                         const MediaRecord &record);

} // namespace mrb
