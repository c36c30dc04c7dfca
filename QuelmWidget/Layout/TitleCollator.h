// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace quelm {

// How item titles are compared, as a person sorts names in a file manager: an ICU collator for
// the user's locale at secondary strength (case-insensitive, accent-sensitive) with numeric
// collation on, so that "svc 2" comes before "svc 10". Titles in ASCII and Latin-1's accented
// letters, in a locale that orders those as the root does, are compared without ICU, to the same
// result.
//
// A TitleCollator is immutable once built; its const operations may be used from several threads
// at once (ICU's const collator API is thread-safe). `current()` hands each thread its own
// instance for the environment's locale anyway, so no two threads normally share one.
namespace detail {
// The start of `text` that is collated: at most `TitleCollator::longestCollatedBytes`, whole characters.
std::string_view collatedHead(std::string_view text);
}

class TitleCollator {
public:
    // The collator for `localeName`, a POSIX locale name ("pt_BR.UTF-8", "C", "") or an ICU
    // locale id. "C", "POSIX" and the empty name mean the root collation, and so does a locale
    // that ICU does not know.
    explicit TitleCollator(std::string_view localeName);
    ~TitleCollator();

    TitleCollator(const TitleCollator&) = delete;
    TitleCollator& operator=(const TitleCollator&) = delete;

    // This thread's collator for the environment's locale (`environmentLocale()`); built again
    // when the environment names another locale than on the last call.
    static std::shared_ptr<const TitleCollator> current();

    // The locale that orders text in this process: the first non-empty of LC_ALL, LC_COLLATE and
    // LANG, or "C" when none is set.
    static std::string environmentLocale();

    // The ICU locale id the collator was asked for ("pt_BR"; "" for the root).
    const std::string& localeID() const { return m_localeID; }

    // Negative, zero or positive as `a` sorts before, with or after `b` (UTF-8 texts). Only the
    // first `longestCollatedBytes` of each are collated; titles alike that far go by their bytes.
    int compare(std::string_view a, std::string_view b) const;
    static constexpr std::size_t longestCollatedBytes = 4096;

private:
    struct IcuCollator; // the ICU collator, kept out of this header
    const IcuCollator& icuCollator() const;

    std::string m_localeID;
    bool m_latinAsTheRoot;
    mutable std::once_flag m_icuBuilt;
    mutable std::unique_ptr<IcuCollator> m_collator;
};

}
