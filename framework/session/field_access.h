#pragma once

#include <string>
#include <string_view>

#include "base/result.h"
#include "fields/field_table.h"
#include "session/list_session.h"

namespace mrb {

// Reads a field of the entry under the list's cursor. `value` is then an integer, a
// real number or a text as the type wants it, the empty one where the entry has none.
Status readField(const ListSession &session, const char *name, FieldType type, FactValue &value);

// Writes one: an integer or a text. What is kept is the client's; the file itself is
// never written. An empty text brings the file's own back.
Status writeField(const ListSession &session, const char *name, FactValue value);

// The seconds at which a client wants to go on with an item; 0: from its start.
std::int64_t resumePosition(const ListSession &session, const ListEntry &entry);

} // namespace mrb
