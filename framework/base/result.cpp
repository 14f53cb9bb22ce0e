#include "base/result.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace mrb {
namespace {

struct Name {
    int code;
    const char *name;
};

constexpr Name NAMES[] = {
    {MRB_ERR_NONE, "MRB_ERR_NONE"},
    {MRB_ERR_INVALID_PARAMETER, "MRB_ERR_INVALID_PARAMETER"},
    {MRB_ERR_INVALID_HANDLE, "MRB_ERR_INVALID_HANDLE"},
    {MRB_ERR_OUT_OF_RANGE, "MRB_ERR_OUT_OF_RANGE"},
    {MRB_ERR_NOT_FOUND, "MRB_ERR_NOT_FOUND"},
    {MRB_ERR_NOT_SUPPORTED, "MRB_ERR_NOT_SUPPORTED"},
    {MRB_ERR_PERMISSION_DENIED, "MRB_ERR_PERMISSION_DENIED"},
    {MRB_ERR_NOT_A_FOLDER, "MRB_ERR_NOT_A_FOLDER"},
    {MRB_ERR_IO, "MRB_ERR_IO"},
    {MRB_ERR_OUT_OF_MEMORY, "MRB_ERR_OUT_OF_MEMORY"},
    {MRB_ERR_CANCELLED, "MRB_ERR_CANCELLED"},
    {MRB_ERR_DEVICE_REMOVED, "MRB_ERR_DEVICE_REMOVED"},
    {MRB_ERR_NO_SPACE, "MRB_ERR_NO_SPACE"},
    {MRB_ERR_TIMEOUT, "MRB_ERR_TIMEOUT"},
    {MRB_ERR_PROTOCOL, "MRB_ERR_PROTOCOL"},
    {MRB_ERR_BUSY, "MRB_ERR_BUSY"},
    {MRB_ERR_NOT_INITIALIZED, "MRB_ERR_NOT_INITIALIZED"},
    {MRB_ERR_CORRUPT, "MRB_ERR_CORRUPT"},
};

struct Meaning {
    int number;
    int code;
};

constexpr Meaning MEANINGS[] = {
    {0, MRB_ERR_NONE},
    {ENOENT, MRB_ERR_NOT_FOUND},
    {ELOOP, MRB_ERR_NOT_FOUND},
    {EACCES, MRB_ERR_PERMISSION_DENIED},
    {EPERM, MRB_ERR_PERMISSION_DENIED},
    {EROFS, MRB_ERR_PERMISSION_DENIED},
    {ENOTDIR, MRB_ERR_NOT_A_FOLDER},
    {ENAMETOOLONG, MRB_ERR_INVALID_PARAMETER},
    {EINVAL, MRB_ERR_INVALID_PARAMETER},
    {ENOMEM, MRB_ERR_OUT_OF_MEMORY},
    // For a caller, too many open files are like too little memory: closing something helps.
    {EMFILE, MRB_ERR_OUT_OF_MEMORY},
    {ENFILE, MRB_ERR_OUT_OF_MEMORY},
    {EAGAIN, MRB_ERR_OUT_OF_MEMORY},
    {ECANCELED, MRB_ERR_CANCELLED},
    {ENODEV, MRB_ERR_DEVICE_REMOVED},
    {ENXIO, MRB_ERR_DEVICE_REMOVED},
    {ENOMEDIUM, MRB_ERR_DEVICE_REMOVED},
    {ESTALE, MRB_ERR_DEVICE_REMOVED},
    {ENOSPC, MRB_ERR_NO_SPACE},
    {EDQUOT, MRB_ERR_NO_SPACE},
    {ETIMEDOUT, MRB_ERR_TIMEOUT},
    {EBUSY, MRB_ERR_BUSY},
    {EUCLEAN, MRB_ERR_CORRUPT},
};

} // namespace

const char *resultName(int code) {
    for (const Name &entry : NAMES) {
        if (entry.code == code) {
            return entry.name;
        }
    }
    return "MRB_ERR_UNKNOWN";
}

int resultOfErrno(int number) {
    for (const Meaning &meaning : MEANINGS) {
        if (meaning.number == number) {
            return meaning.code;
        }
    }
    return MRB_ERR_IO;
}

Status Status::invalidParameter(std::string message) {
    return {MRB_ERR_INVALID_PARAMETER, std::move(message)};
}

Status Status::invalidHandle(std::string message) { return {MRB_ERR_INVALID_HANDLE, std::move(message)}; }

Status Status::notFound(std::string message) { return {MRB_ERR_NOT_FOUND, std::move(message)}; }

Status Status::notSupported(std::string message) { return {MRB_ERR_NOT_SUPPORTED, std::move(message)}; }

Status Status::permissionDenied(std::string message) {
    return {MRB_ERR_PERMISSION_DENIED, std::move(message)};
}

Status Status::ioError(std::string message) { return {MRB_ERR_IO, std::move(message)}; }

Status Status::outOfMemory(std::string message) { return {MRB_ERR_OUT_OF_MEMORY, std::move(message)}; }

Status Status::cancelled(std::string message) { return {MRB_ERR_CANCELLED, std::move(message)}; }

Status Status::deviceRemoved(std::string message) { return {MRB_ERR_DEVICE_REMOVED, std::move(message)}; }

Status Status::noSpace(std::string message) { return {MRB_ERR_NO_SPACE, std::move(message)}; }

Status Status::timedOut(std::string message) { return {MRB_ERR_TIMEOUT, std::move(message)}; }

Status Status::protocolError(std::string message) { return {MRB_ERR_PROTOCOL, std::move(message)}; }

Status Status::busy(std::string message) { return {MRB_ERR_BUSY, std::move(message)}; }

Status Status::notInitialized(std::string message) { return {MRB_ERR_NOT_INITIALIZED, std::move(message)}; }

Status Status::corrupt(std::string message) { return {MRB_ERR_CORRUPT, std::move(message)}; }

Status Status::ofErrno(int number, const std::string &about) {
    return {resultOfErrno(number), about + ": " + std::generic_category().message(number)};
}

} // namespace mrb
