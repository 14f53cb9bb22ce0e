#include "text/collation.h"

#include <unicode/ucol.h>

#include "base/log.h"
#include "text/unicode.h"

namespace mrb {

NaturalOrder::NaturalOrder() {
    UErrorCode status = U_ZERO_ERROR;
    // "root", never the process's locale: a list must not change with LANG.
    collator_.reset(ucol_open("root", &status));
    if (U_SUCCESS(status)) {
        ucol_setAttribute(collator_.get(), UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
        ucol_setAttribute(collator_.get(), UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
    }
    if (U_FAILURE(status)) {
        MRB_LOG_WARNING("Names are sorted by their bytes: ICU has no collation (%s).", u_errorName(status));
        collator_.reset();
    }
}

NaturalOrder::~NaturalOrder() = default;

void NaturalOrder::Close::operator()(UCollator *collator) const { ucol_close(collator); }

std::string NaturalOrder::key(std::string_view name) {
    std::string key;
    if (collator_) {
        readUtf16(name, utf16_);
        const auto units = static_cast<std::int32_t>(utf16_.size());
        key.resize(name.size() * 4 + 16);
        const auto capacity = static_cast<std::int32_t>(key.size());
        // The size includes an ending zero, the only zero in the key: what
        // follows it counts only where two keys are equal.
        std::int32_t size = ucol_getSortKey(collator_.get(), utf16_.data(), units,
                                            reinterpret_cast<std::uint8_t *>(key.data()), capacity);
        key.resize(static_cast<std::size_t>(size));
        if (size > capacity) {
            ucol_getSortKey(collator_.get(), utf16_.data(), units,
                            reinterpret_cast<std::uint8_t *>(key.data()), size);
        }
    }
    key.append(name);
    return key;
}

} // namespace mrb
