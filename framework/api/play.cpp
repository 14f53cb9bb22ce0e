// The functions of players for the item under the cursor.

#include "api/with_list.h"
#include "fields/description.h"
#include "mrb/agent.h"
#include "session/field_access.h"

using mrb::ListEntry;
using mrb::ListSession;

namespace {

bool isPlayed(const ListEntry &entry) {
    switch (entry.info.type) {
    case MRB_ITEM_TYPE_FOLDER:
    case MRB_ITEM_TYPE_UPFOLDER:
    case MRB_ITEM_TYPE_GROUP:
    case MRB_ITEM_TYPE_EMPTY:
        return false;
    default:
        return true;
    }
}

// Returns the text of `describe` for the item under the cursor, if `check` permits it.
template <typename Describe>
int describeCurrent(mrb_agent_handler_h agent, char **text,
                    int (ListSession::*check)(const ListEntry &) const, Describe &&describe) {
    if (text == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::withList(agent, [&](const ListSession &session) {
        const std::optional<ListEntry> entry = session.current();
        if (!entry) {
            return static_cast<int>(MRB_ERR_NOT_FOUND);
        }
        if (!isPlayed(*entry)) {
            return static_cast<int>(MRB_ERR_NOT_SUPPORTED);
        }
        const int code = check == nullptr ? MRB_ERR_NONE : (session.*check)(*entry);
        if (code != MRB_ERR_NONE) {
            return code;
        }
        return mrb::copyToCaller(describe(session, *entry), text);
    });
}

} // namespace

int mrb_prepare_play_data_v2(mrb_agent_handler_h agent, char **play_data) {
    return describeCurrent(agent, play_data, &ListSession::checkAvailable,
                           [](const ListSession &session, const ListEntry &entry) {
                               return mrb::describePlayback(entry, session.items().locationOf(entry.info),
                                                            mrb::resumePosition(session, entry));
                           });
}

int mrb_get_rating_info_v2(mrb_agent_handler_h agent, char **rating) {
    return describeCurrent(agent, rating, nullptr, [](const ListSession &session, const ListEntry &entry) {
        return mrb::describeRating(session.items().locationOf(entry.info));
    });
}
