#include "Host/WidgetInstance.h"

#include <quelm/Uuid.h>

#include <QJsonValue>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace quelm::host {

namespace {

[[noreturn]] void refuse(const std::string& what)
{
    throw std::invalid_argument(what);
}

QString requiredString(const QJsonObject& object, const char* key)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (!value.isString() || value.toString().isEmpty())
        refuse(std::string("\"") + key + "\" is missing or not a non-empty string");
    return value.toString();
}

int coordinate(const QJsonObject& object, const char* key)
{
    const QJsonValue value = object.value(QLatin1String(key));
    const double number = value.toDouble(std::numeric_limits<double>::quiet_NaN());
    if (!value.isDouble() || !std::isfinite(number) || number != std::trunc(number) || std::abs(number) > 1'000'000)
        refuse(std::string("position.") + key + " is not a whole number of pixels");
    return static_cast<int>(number);
}

}

WidgetInstance WidgetInstance::placed(WidgetFamily family)
{
    WidgetInstance instance;
    instance.id = QString::fromStdString(Uuid::random().string());
    instance.family = family;
    return instance;
}

QJsonObject WidgetInstance::toJson() const
{
    QJsonObject object {
        { QStringLiteral("id"), id },
        { QStringLiteral("family"), QString::fromUtf8(rawValue(family).data(), static_cast<qsizetype>(rawValue(family).size())) },
        { QStringLiteral("sortOrder"), QString::fromUtf8(rawValue(sortOrder).data(), static_cast<qsizetype>(rawValue(sortOrder).size())) },
    };
    if (position)
        object.insert(QStringLiteral("position"), QJsonObject { { QStringLiteral("x"), position->x() }, { QStringLiteral("y"), position->y() } });
    return object;
}

WidgetInstance WidgetInstance::fromJson(const QJsonObject& object)
{
    WidgetInstance instance;
    instance.id = requiredString(object, "id");

    const std::string family = requiredString(object, "family").toStdString();
    const auto parsedFamily = parseWidgetFamily(family);
    if (!parsedFamily)
        refuse("unknown family \"" + family + "\"");
    instance.family = *parsedFamily;

    // Written by every version of the host, but an instance never edited reads as the default.
    if (object.contains(QLatin1String("sortOrder"))) {
        const std::string sortOrder = requiredString(object, "sortOrder").toStdString();
        const auto parsedOrder = fromRawValue<WidgetSortOrder>(sortOrder);
        if (!parsedOrder)
            refuse("unknown sort order \"" + sortOrder + "\"");
        instance.sortOrder = *parsedOrder;
    }

    if (object.contains(QLatin1String("position"))) {
        const QJsonValue position = object.value(QLatin1String("position"));
        if (!position.isObject())
            refuse("\"position\" is not an object");
        instance.position = QPoint(coordinate(position.toObject(), "x"), coordinate(position.toObject(), "y"));
    }
    return instance;
}

}
