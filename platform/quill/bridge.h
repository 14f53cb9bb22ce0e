#pragma once
// The host engine's bridge API, whole. namespace Bridge, over V8.

#include "quill/arguments.h"
#include "quill/exception.h"
#include "quill/script_array.h"
#include "quill/script_bridge.h"
#include "quill/script_context.h"
#include "quill/script_function.h"
#include "quill/script_object.h"
#include "quill/strings.h"
