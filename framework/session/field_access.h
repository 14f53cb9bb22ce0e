#pragma once

#include <string>
#include <string_view>

#include "base/result.h"
#include "fields/field_table.h"
#include "session/list_session.h"

namespace mrb {

// Reads a field of the entry under the list's cursor. `value` is then an integer, a real number
// or a text by the field's type; empty or 0 where the entry has no value.
Status readField(const ListSession &session, const char *name, FieldType type, MetadataValue &value);

// Writes a field: an integer or a text. The value is stored in the cache; the file itself is
// never written. An empty text restores the file's own value.
Status writeField(const ListSession &session, const char *name, MetadataValue value);

// The position in seconds at which a client resumes playing an item; 0: at its start.
std::int64_t resumePosition(const ListSession &session, const ListEntry &entry);

} // namespace mrb
