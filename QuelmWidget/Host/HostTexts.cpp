#include "HostTexts.h"

#include "LocalizationKeys.h"
#include "Localizer.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTranslator>

#include <memory>
#include <string>

namespace quelm::host {

namespace {

QString translated(std::string_view context, std::string_view key)
{
    const std::string contextName(context);
    const std::string source(key);
    return QCoreApplication::translate(contextName.c_str(), source.c_str());
}

QStringList translationFolders()
{
    QStringList folders { QStringLiteral(QUELM_HOST_TRANSLATIONS_DIR) };
    // A relocated installation: the translations stay beside the program.
    if (QCoreApplication::instance())
        folders << QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("../share/quelm/translations"));
    folders << QStringLiteral(":/quelm/i18n");
    return folders;
}

}

QString hostText(std::string_view key)
{
    return translated(HostTexts::context, key);
}

QString widgetText(std::string_view key)
{
    return translated(LocalizationKeys::context, key);
}

bool installTranslation(QCoreApplication& application)
{
    const std::string locale = views::Localizer::currentLocaleName();
    const QString language = QString::fromStdString(locale.substr(0, locale.find_first_of("_-.@")));
    if (language.isEmpty() || language == QLatin1String("C") || language == QLatin1String("POSIX"))
        return false;
    const QString fileName = QStringLiteral("quelm_%1.qm").arg(language);
    for (const QString& folder : translationFolders()) {
        const QString path = QDir(folder).filePath(fileName);
        if (!QFile::exists(path))
            continue;
        auto translator = std::make_unique<QTranslator>();
        if (!translator->load(path) || !QCoreApplication::installTranslator(translator.get()))
            continue;
        translator.release()->setParent(&application);
        return true;
    }
    return false;
}

QString familyDisplayName(WidgetFamily family)
{
    switch (family) {
    case WidgetFamily::systemSmall:
        return hostText(HostTexts::small);
    case WidgetFamily::systemMedium:
        return hostText(HostTexts::medium);
    case WidgetFamily::systemLarge:
        return hostText(HostTexts::large);
    case WidgetFamily::systemExtraLarge:
        return hostText(HostTexts::extraLarge);
    }
    return hostText(HostTexts::large);
}

}
