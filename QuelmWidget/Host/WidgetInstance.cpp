// SPDX-License-Identifier: MIT
#include "Host/WidgetInstance.h"

#include <quelm/Uuid.h>

#include <QJsonValue>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace quelm::host {

namespace {

// Collects what could not be read, when the caller asked for it.
class Repairs {
public:
    explicit Repairs(std::vector<std::string>* lines)
        : m_lines(lines)
    {
    }
    void add(const std::string& line) const
    {
        if (m_lines)
            m_lines->push_back(line);
    }

private:
    std::vector<std::string>* m_lines;
};

std::optional<std::string> nonEmptyString(const QJsonObject& object, const char* key)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (!value.isString() || value.toString().isEmpty())
        return std::nullopt;
    return value.toString().toStdString();
}

std::optional<int> coordinate(const QJsonObject& object, const char* key)
{
    const QJsonValue value = object.value(QLatin1String(key));
    const double number = value.toDouble(std::numeric_limits<double>::quiet_NaN());
    if (!value.isDouble() || !std::isfinite(number) || number != std::trunc(number) || std::abs(number) > 1'000'000)
        return std::nullopt;
    return static_cast<int>(number);
}

std::string shown(const QJsonValue& value)
{
    if (value.isString())
        return "\"" + value.toString().left(64).toStdString() + "\"";
    return "a value that is not a non-empty string";
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
    if (position) {
        QJsonObject place { { QStringLiteral("x"), position->x() }, { QStringLiteral("y"), position->y() } };
        if (!screen.isEmpty())
            place.insert(QStringLiteral("screen"), screen);
        object.insert(QStringLiteral("position"), place);
    }
    return object;
}

WidgetInstance WidgetInstance::fromJson(const QJsonObject& object, std::vector<std::string>* repairLines)
{
    const Repairs repairs(repairLines);
    WidgetInstance instance = placed(WidgetFamily::medium);

    if (const auto id = nonEmptyString(object, "id"))
        instance.id = QString::fromStdString(*id);
    else
        repairs.add("no id; given a new one");

    const auto family = nonEmptyString(object, "family");
    const auto parsedFamily = family ? parseWidgetFamily(*family) : std::nullopt;
    if (parsedFamily)
        instance.family = *parsedFamily;
    else
        repairs.add("unknown family " + shown(object.value(QLatin1String("family"))) + "; shown medium");

    // Written by every version of the host, but an instance never edited reads as the default.
    if (object.contains(QLatin1String("sortOrder"))) {
        const auto sortOrder = nonEmptyString(object, "sortOrder");
        const auto parsedOrder = sortOrder ? fromRawValue<WidgetSortOrder>(*sortOrder) : std::nullopt;
        if (parsedOrder)
            instance.sortOrder = *parsedOrder;
        else
            repairs.add("unknown sort order " + shown(object.value(QLatin1String("sortOrder"))) + "; sorted by category");
    }

    if (object.contains(QLatin1String("position"))) {
        const QJsonObject position = object.value(QLatin1String("position")).toObject();
        const auto x = coordinate(position, "x");
        const auto y = coordinate(position, "y");
        if (x && y)
            instance.position = QPoint(*x, *y);
        else
            repairs.add("the position is not two whole numbers of pixels; placed anew");
        if (x && y && position.contains(QLatin1String("screen"))) {
            if (const auto screen = nonEmptyString(position, "screen"))
                instance.screen = QString::fromStdString(*screen);
            else
                repairs.add("the position's screen is not a name; kept for any screen");
        }
    }
    return instance;
}

}
