#include "text/collation.h"

#include <unicode/ucol.h>

#include <algorithm>

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

void NaturalOrder::close(UCollator *collator) { ucol_close(collator); }

std::string_view NaturalOrder::transientKey(std::string_view name) {
    std::size_t length = 0;
    if (collator_) {
        readUtf16(name, utf16_);
        const auto units = static_cast<std::int32_t>(utf16_.size());
        const auto make = [&] {
            return static_cast<std::size_t>(ucol_getSortKey(collator_.get(), utf16_.data(), units,
                                                            reinterpret_cast<std::uint8_t *>(key_.data()),
                                                            static_cast<std::int32_t>(key_.size())));
        };
        // The length includes an ending zero, the only zero in the key: what
        // follows it counts only where two keys are equal.
        length = make();
        if (length > key_.size()) {
            key_.resize(length);
            length = make();
        }
    }
    if (length + name.size() > key_.size()) {
        key_.resize(length + name.size());
    }
    std::ranges::copy(name, key_.begin() + static_cast<std::ptrdiff_t>(length));
    return std::string_view(key_).substr(0, length + name.size());
}

int NaturalOrder::compare(std::string_view left, std::string_view right) const {
    if (collator_) {
        UErrorCode status = U_ZERO_ERROR;
        const UCollationResult result =
            ucol_strcollUTF8(collator_.get(), left.data(), static_cast<std::int32_t>(left.size()),
                             right.data(), static_cast<std::int32_t>(right.size()), &status);
        if (U_SUCCESS(status) && result != UCOL_EQUAL) {
            return result == UCOL_LESS ? -1 : 1;
        }
    }
    return left.compare(right);
}

} // namespace mrb
