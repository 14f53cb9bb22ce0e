#pragma once

#include "list/list_request.h"

// The object behind mrb_general_param_h; owned by the client that created it.
struct mrb_general_param_s : mrb::ListRequest {};
