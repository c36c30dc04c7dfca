// SPDX-License-Identifier: MIT
#pragma once

#include "Text/LocaleForms.h"

#include <unicode/measunit.h>

namespace quelm::detail {

// ICU's unit for one of ours, made for a `icu::Measure` to adopt; for those that ask ICU itself.
inline icu::MeasureUnit* icuMeasureUnit(LocaleForms::Unit unit, UErrorCode& status)
{
    switch (unit) {
    case LocaleForms::Unit::second:
        return icu::MeasureUnit::createSecond(status);
    case LocaleForms::Unit::minute:
        return icu::MeasureUnit::createMinute(status);
    case LocaleForms::Unit::hour:
        return icu::MeasureUnit::createHour(status);
    case LocaleForms::Unit::day:
        break;
    }
    return icu::MeasureUnit::createDay(status);
}

}
