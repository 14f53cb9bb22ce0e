#include "text/search.h"

#include <unicode/ucol.h>
#include <unicode/ucoleitr.h>

#include <algorithm>

#include "base/log.h"
#include "text/unicode.h"

namespace mrb {

NameSearch::NameSearch(std::string_view pattern) {
    UErrorCode status = U_ZERO_ERROR;
    // "root", never the process's locale: what is found must not change with LANG.
    collator_.reset(ucol_open("root", &status));
    if (U_SUCCESS(status)) {
        ucol_setAttribute(collator_.get(), UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
        ucol_setStrength(collator_.get(), UCOL_PRIMARY);
        elements_.reset(ucol_openElements(collator_.get(), text_.data(), 0, &status));
    }
    if (U_FAILURE(status)) {
        MRB_LOG_WARNING("Names are searched by their exact letters: ICU has no collation (%s).",
                        u_errorName(status));
        elements_.reset();
    }
    readWeights(pattern, pattern_);
}

NameSearch::~NameSearch() = default;

void NameSearch::close(UCollator *collator) { ucol_close(collator); }

void NameSearch::closeElements(UCollationElements *elements) { ucol_closeElements(elements); }

bool NameSearch::isIn(std::string_view name) {
    readWeights(name, name_);
    return pattern_.empty() ||
           std::search(name_.begin(), name_.end(), pattern_.begin(), pattern_.end()) != name_.end();
}

void NameSearch::readWeights(std::string_view text, std::vector<std::int32_t> &weights) {
    weights.clear();
    readUtf16(text, text_);
    if (!elements_) {
        weights.assign(text_.begin(), text_.end());
        return;
    }
    UErrorCode status = U_ZERO_ERROR;
    ucol_setText(elements_.get(), text_.data(), static_cast<std::int32_t>(text_.size()), &status);
    while (U_SUCCESS(status)) {
        const std::int32_t element = ucol_next(elements_.get(), &status);
        if (element == UCOL_NULLORDER) {
            break;
        }
        // Accents and the like weigh nothing at this level.
        if (const std::int32_t weight = ucol_primaryOrder(element); weight != 0) {
            weights.push_back(weight);
        }
    }
}

} // namespace mrb
