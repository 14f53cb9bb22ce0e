#pragma once

#include <string>

#include "mrb/result.h"

namespace mrb {

// The name of a code of mrb/result.h as it stands there; "MRB_ERR_UNKNOWN" for any other number.
const char *resultName(int code);

// The code that corresponds to an errno; MRB_ERR_IO for any other number.
int resultOfErrno(int number);

// The result of an operation that can fail: a code of mrb/result.h and, when it is not
// MRB_ERR_NONE, a message for a person that names what was wrong. A plain value.
struct [[nodiscard]] Status {
    int code = MRB_ERR_NONE;
    std::string message;

    [[nodiscard]] bool ok() const { return code == MRB_ERR_NONE; }

    // A failure with the code of the same name; without a message where no person reads it.
    static Status invalidParameter(std::string message = {});
    static Status invalidHandle(std::string message = {});
    static Status notFound(std::string message = {});
    static Status notSupported(std::string message = {});
    static Status permissionDenied(std::string message = {});
    static Status ioError(std::string message = {});
    static Status outOfMemory(std::string message = {});
    static Status cancelled(std::string message = {});
    static Status deviceRemoved(std::string message = {});
    static Status noSpace(std::string message = {});
    static Status timedOut(std::string message = {});
    static Status protocolError(std::string message = {});
    static Status busy(std::string message = {});
    static Status notInitialized(std::string message = {});
    static Status corrupt(std::string message = {});

    // The system's message, preceded by what it is about: "DCIM: Permission denied".
    static Status ofErrno(int number, const std::string &about);
};

} // namespace mrb
