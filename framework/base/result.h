#pragma once

#include <string>

#include "mrb/result.h"

namespace mrb {

// The name of a code of mrb/result.h as it stands there; "MRB_ERR_UNKNOWN" for any other number.
const char *resultName(int code);

// The code that tells a caller best what the system's error number means.
int resultOfErrno(int number);

// How something that can fail ended: a code of mrb/result.h and, when it is not
// MRB_ERR_NONE, a sentence for a person that names what was wrong.
struct Outcome {
    int code = MRB_ERR_NONE;
    std::string message;
};

// What the system said, with the thing it was said about in front: "DCIM: Permission denied".
Outcome outcomeOfErrno(int number, const std::string &about);

} // namespace mrb
