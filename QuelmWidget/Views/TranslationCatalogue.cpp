// SPDX-License-Identifier: MIT
#include "Views/TranslationCatalogue.h"

#include "Text/WidgetLocalization.h"

#include <QFile>
#include <QString>
#include <QStringList>
#include <QTranslator>

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace quelm::views {

namespace {

// Installed translations come first, so that a language added after the build is found.
QStringList translationFolders()
{
    QStringList folders { QStringLiteral(QUELM_TRANSLATIONS_DIR) };
    if (QCoreApplication::instance())
        folders << QCoreApplication::applicationDirPath() + QStringLiteral("/../share/quelm/translations");
    folders << QStringLiteral(":/quelm/i18n");
    return folders;
}

struct Translation {
    QString path; // empty when the language has none
    std::shared_ptr<const QTranslator> translator;
};

Translation find(std::string_view language)
{
    if (!WidgetLocalization::isLanguageName(language))
        return {};
    const std::string fileName = WidgetLocalization::translationFileName(language);
    for (const QString& folder : translationFolders()) {
        const QString path = folder + QLatin1Char('/') + QString::fromStdString(fileName);
        if (!QFile::exists(path))
            continue;
        auto translator = std::make_shared<QTranslator>();
        if (!translator->load(path))
            return {};
        return { path, std::move(translator) };
    }
    return {};
}

// Translation files do not change while the program runs: a language's answer, found or not,
// is kept for the life of the process.
const Translation& cached(std::string_view language)
{
    static std::mutex mutex;
    static std::map<std::string, Translation, std::less<>> found;
    std::lock_guard lock(mutex);
    if (auto known = found.find(language); known != found.end())
        return known->second;
    return found.emplace(std::string(language), find(language)).first->second;
}

}

std::shared_ptr<const QTranslator> TranslationCatalogue::translator(std::string_view language)
{
    return cached(language).translator;
}

bool TranslationCatalogue::install(QCoreApplication& application, std::string_view language)
{
    const Translation& translation = cached(language);
    if (!translation.translator)
        return false;
    // The application's own copy, owned by it: whoever removes the application's translators
    // removes this one too.
    auto translator = std::make_unique<QTranslator>();
    if (!translator->load(translation.path) || !QCoreApplication::installTranslator(translator.get()))
        return false;
    translator.release()->setParent(&application);
    return true;
}

}
