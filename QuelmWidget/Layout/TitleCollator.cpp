// SPDX-License-Identifier: MIT
#include "Layout/TitleCollator.h"

#include "Layout/LatinCollation.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/stringpiece.h>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace quelm {

namespace {

// "pt_BR.UTF-8@euro" → "pt_BR"; "C", "POSIX", "C.UTF-8" and "" → "" (the root collation).
std::string icuLocaleID(std::string_view posixName)
{
    const auto end = posixName.find_first_of(".@");
    std::string_view name = posixName.substr(0, end);
    if (name == "C" || name == "POSIX")
        return {};
    return std::string(name);
}

// Locales that collate ASCII and Latin-1's accented letters exactly as the root does: no
// tailoring of theirs touches them.
bool collatesLatinAsTheRoot(const std::string& localeID)
{
    static constexpr std::array<std::string_view, 9> locales { "", "en", "en_US", "en_GB", "en_CA", "en_AU", "pt", "pt_BR", "pt_PT" };
    return std::find(locales.begin(), locales.end(), localeID) != locales.end();
}

}

namespace detail {

std::string_view collatedHead(std::string_view text)
{
    if (text.size() <= TitleCollator::longestCollatedBytes)
        return text;
    std::size_t end = TitleCollator::longestCollatedBytes;
    // Not inside a character: back up over continuation bytes.
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    return text.substr(0, end);
}

}

struct TitleCollator::IcuCollator {
    std::unique_ptr<icu::Collator> collator;
};

namespace {

std::unique_ptr<icu::Collator> makeCollator(const std::string& localeID)
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale locale = localeID.empty() ? icu::Locale::getRoot() : icu::Locale(localeID.c_str());
    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(locale, status));
    if (U_FAILURE(status) || !collator) {
        // An unusable locale: fall back to the root collation.
        status = U_ZERO_ERROR;
        collator.reset(icu::Collator::createInstance(icu::Locale::getRoot(), status));
        if (U_FAILURE(status))
            collator.reset();
    }
    if (collator) {
        collator->setStrength(icu::Collator::SECONDARY);
        status = U_ZERO_ERROR;
        collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    }
    return collator;
}

}

TitleCollator::TitleCollator(std::string_view localeName)
    : m_localeID(icuLocaleID(localeName))
    , m_latinAsTheRoot(collatesLatinAsTheRoot(m_localeID))
{
}

TitleCollator::~TitleCollator() = default;

std::string TitleCollator::environmentLocale()
{
    for (const char* name : { "LC_ALL", "LC_COLLATE", "LANG" }) {
        const char* value = std::getenv(name);
        if (value && *value)
            return value;
    }
    return "C";
}

std::shared_ptr<const TitleCollator> TitleCollator::current()
{
    thread_local std::string cachedLocale;
    thread_local std::shared_ptr<const TitleCollator> cached;
    std::string locale = environmentLocale();
    if (!cached || locale != cachedLocale) {
        cached = std::make_shared<const TitleCollator>(locale);
        cachedLocale = std::move(locale);
    }
    return cached;
}

const TitleCollator::IcuCollator& TitleCollator::icuCollator() const
{
    // Built on first need only: ICU's collator costs the process a megabyte and more of memory.
    std::call_once(m_icuBuilt, [this] { m_collator = std::make_unique<IcuCollator>(IcuCollator { makeCollator(m_localeID) }); });
    return *m_collator;
}

int TitleCollator::compare(std::string_view a, std::string_view b) const
{
    // Titles that agree further than any row shows are told apart by their bytes: collating
    // megabytes would stall whoever sorts them.
    const std::string_view headA = detail::collatedHead(a);
    const std::string_view headB = detail::collatedHead(b);
    std::optional<int> order;
    if (m_latinAsTheRoot)
        order = detail::latinCollation(headA, headB);
    if (!order) {
        const icu::Collator* collator = icuCollator().collator.get();
        if (!collator) // no collation data at all: plain byte order
            return a.compare(b);
        UErrorCode status = U_ZERO_ERROR;
        const UCollationResult result = collator->compareUTF8(
            icu::StringPiece(headA.data(), static_cast<int32_t>(headA.size())),
            icu::StringPiece(headB.data(), static_cast<int32_t>(headB.size())), status);
        if (U_FAILURE(status))
            return a.compare(b);
        order = static_cast<int>(result);
    }
    if (*order == 0 && (headA.size() < a.size() || headB.size() < b.size()))
        return a.substr(headA.size()).compare(b.substr(headB.size()));
    return *order;
}

}
