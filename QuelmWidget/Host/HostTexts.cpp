// SPDX-License-Identifier: MIT
#include "Host/HostTexts.h"

#include "Text/LocalizationKeys.h"
#include "Views/Localizer.h"
#include "Views/TranslationCatalogue.h"

#include <QCoreApplication>
#include <string>

namespace quelm::host {

namespace {

QString translated(std::string_view context, std::string_view key)
{
    const std::string contextName(context);
    const std::string source(key);
    return QCoreApplication::translate(contextName.c_str(), source.c_str());
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
    return views::TranslationCatalogue::install(application, language.toStdString());
}

QString familyDisplayName(WidgetFamily family)
{
    switch (family) {
    case WidgetFamily::small:
        return hostText(HostTexts::small);
    case WidgetFamily::medium:
        return hostText(HostTexts::medium);
    case WidgetFamily::large:
        return hostText(HostTexts::large);
    case WidgetFamily::extraLarge:
        return hostText(HostTexts::extraLarge);
    }
    return hostText(HostTexts::large);
}

}
