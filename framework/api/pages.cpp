// The view of a list: pages, groups, folders, positions.

#include "api/with_list.h"
#include "base/log.h"
#include "list/page_style.h"
#include "mrb/agent.h"

using mrb::ListSession;
using mrb::withList;

// The object behind mrb_page_param_h; owned by the client that created it.
struct mrb_page_param_s : mrb::PageRequest {};

namespace {

template <typename Value>
int setValue(mrb_page_param_h param, Value mrb::PageRequest::*member, Value value) {
    return mrb::setValue<mrb::PageRequest>(param, member, value);
}

} // namespace

int mrb_create_page_param(mrb_page_param_h *param) { return mrb::createObject(param); }

int mrb_destroy_page_param(mrb_page_param_h param) { return mrb::destroyObject(param); }

int mrb_param_set_page_style_mask(mrb_page_param_h param, int page_style) {
    return setValue(param, &mrb::PageRequest::style, page_style);
}

int mrb_param_set_page_style_order(mrb_page_param_h param, int order) {
    return setValue(param, &mrb::PageRequest::order, order);
}

int mrb_param_set_page_style_group_index(mrb_page_param_h param, int group_index) {
    return setValue(param, &mrb::PageRequest::groupIndex, group_index);
}

int mrb_param_set_page_style_row(mrb_page_param_h param, int rows) {
    return setValue(param, &mrb::PageRequest::rows, rows);
}

int mrb_param_set_page_style_column(mrb_page_param_h param, int columns) {
    return setValue(param, &mrb::PageRequest::columns, columns);
}

int mrb_param_set_page_style_padding(mrb_page_param_h param, bool need_padding) {
    return setValue(param, &mrb::PageRequest::needPadding, need_padding);
}

int mrb_set_page_style_v2(mrb_agent_handler_h agent, mrb_page_param_h param) {
    if (param == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return withList(agent, [&](ListSession &session) {
        mrb::PageStyle style;
        const mrb::Status status = mrb::readPageStyle(*param, style);
        if (!status.ok()) {
            MRB_LOG_WARNING("Page style not set: %s", status.message.c_str());
            return status.code;
        }
        return session.setStyle(style);
    });
}

int mrb_set_navigation_v2(mrb_agent_handler_h agent, int navigation) {
    return withList(agent,
                    [&](ListSession &session) { return session.list().cursor().navigate(navigation); });
}

int mrb_get_navigation_v2(mrb_agent_handler_h agent, int *navigation) {
    if (navigation == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return withList(agent, [&](ListSession &session) {
        *navigation = session.list().cursor().navigation();
        return MRB_ERR_NONE;
    });
}

int mrb_get_group_count_v2(mrb_agent_handler_h agent, int *count) {
    if (count == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return withList(agent, [&](ListSession &session) {
        *count = session.list().groupCount();
        return MRB_ERR_NONE;
    });
}

int mrb_get_page_index_v2(mrb_agent_handler_h agent, const char *media_id, int *page_index) {
    if (media_id == nullptr || page_index == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return withList(agent, [&](const ListSession &session) {
        const std::optional<std::int32_t> page = session.pageOf(media_id);
        *page_index = page.value_or(*page_index);
        return page ? MRB_ERR_NONE : MRB_ERR_NOT_FOUND;
    });
}
