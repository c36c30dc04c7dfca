// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>

#include <memory>
#include <string_view>

class QTranslator;

namespace quelm::views {

// The widget's compiled translations ("quelm_<lang>.qm"), for the views and the host alike: looked
// up in the installed translations folder, then beside a relocated program, then in the library's
// resource. Each language is looked up and read once per process; safe from several threads.
class TranslationCatalogue {
public:
    // The translation of `language` ("en"), or null when none is shipped or it cannot be read.
    static std::shared_ptr<const QTranslator> translator(std::string_view language);

    // Makes the translation of `language` the application's (QCoreApplication::translate);
    // false when there is none.
    static bool install(QCoreApplication&, std::string_view language);
};

}
